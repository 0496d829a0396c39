// The screen video test, version 1: see FrontVideoScreen.
import Quorvel

FrontVideoScreen {}
