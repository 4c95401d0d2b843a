#pragma once

namespace velmora::app {

// Opens the interactive query window on the folders given with --in (or the
// location menu's remembered choice) and runs it until the person quits.
int runQueryWindow();

}  // namespace velmora::app
