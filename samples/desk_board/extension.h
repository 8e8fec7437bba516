// The app's extension, which a device starts to ask for the note.
#pragma once

namespace Sample {

// Serves until the device asks to end; the exit status.
int RunBoardExtension();

}  // namespace Sample
