#include "ui/dispatch.h"

#include "host/errors.h"
#include "ui/pndra.h"

namespace pendara {

void RunEvent(Pndra& window, const std::function<void()>& handler) {
    try {
        handler();
    } catch (const HostError& e) {
        window.port.MsgBox(e.description(), kVbOKOnly, "");
        throw ProgramEnd{1};
    }
}

}  // namespace pendara
