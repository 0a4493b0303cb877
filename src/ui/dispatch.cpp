#include "ui/dispatch.h"

#include "host/run_event.h"
#include "ui/pndra.h"

namespace pendara {

void RunEvent(Pndra& window, const std::function<void()>& handler) {
    RunEvent(window.port, handler);
}

}  // namespace pendara
