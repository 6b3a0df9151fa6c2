// tvcad as a window: the Qt application around the session.
#pragma once

#include <string>
#include <vector>

namespace tvcad {

/// Runs tvcad in its main window until the window closes: opens `drawing` (a new drawing when
/// empty; a drawing that cannot be read is reported in a message box and a new one started),
/// loads `modules` (searched in `moduleDirs`; one that does not load is reported the same
/// way), then works from the command line, the menus and the toolbars. Needs a display
/// (windowSystemAvailable). Returns the exit status: 0.
int runWindow(int& argc, char** argv, const std::string& drawing,
              const std::vector<std::string>& modules, const std::vector<std::string>& moduleDirs);

} // namespace tvcad
