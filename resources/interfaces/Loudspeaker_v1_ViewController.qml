// The loudspeaker word test: see HeardWordScreen.
import Quorvel

HeardWordScreen {}
