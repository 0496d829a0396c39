// The earspeaker word test: see HeardWordScreen.
import Quorvel

HeardWordScreen {}
