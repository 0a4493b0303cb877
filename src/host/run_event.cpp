#include "host/run_event.h"

#include "host/desktop_port.h"
#include "host/errors.h"

namespace pendara {

void RunEvent(DesktopPort& port, const std::function<void()>& handler) {
    try {
        handler();
    } catch (const HostError& e) {
        port.MsgBox(e.description(), kVbOKOnly, "");
        throw ProgramEnd{1};
    }
}

}  // namespace pendara
