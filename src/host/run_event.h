#pragma once
// Every user event (a gesture on the window, a command of the command line) enters the logic
// through here: a host failure is shown and ends the program.

#include <functional>

namespace pendara {

class DesktopPort;

// Runs the handler; a HostError shows its description in a message box (OK only) and ends the
// program by throwing ProgramEnd{1}. A ProgramEnd from the handler passes through.
void RunEvent(DesktopPort& port, const std::function<void()>& handler);

}  // namespace pendara
