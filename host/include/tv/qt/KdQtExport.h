// Export macro of the Host's window library, libtvhostui.
#pragma once

#define TVHOSTUI_API __attribute__((visibility("default")))
