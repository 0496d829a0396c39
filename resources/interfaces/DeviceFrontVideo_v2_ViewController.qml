// The screen video test, version 2: see FrontVideoScreen.
import Quorvel

FrontVideoScreen {}
