// Whether tvcad can open windows here, asked before Qt is started (Qt ends the program when
// its platform cannot connect).
#pragma once

#include <string>

namespace tvcad {

/// True when the window system Qt will use can be reached: the X server of DISPLAY answers,
/// or a Wayland compositor and Qt's Wayland plug-in are there, or QT_QPA_PLATFORM names a
/// platform that needs no display (offscreen, vnc ...). Otherwise false with the reason in
/// `why` ("no display: DISPLAY is not set", "cannot open display \":7\"").
bool windowSystemAvailable(std::string* why);

} // namespace tvcad
