#pragma once
// Every event of the window enters the logic here: a host failure is shown and ends the program.

#include <functional>

namespace pendara {

class Pndra;

// Runs the handler; a HostError shows its description in a message box (OK only) and ends the
// program by throwing ProgramEnd{1}. A ProgramEnd from the handler passes through.
void RunEvent(Pndra& window, const std::function<void()>& handler);

}  // namespace pendara
