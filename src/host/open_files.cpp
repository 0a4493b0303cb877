#include "host/open_files.h"

#ifndef _WIN32
#include <sys/resource.h>
#endif

namespace pendara {

long RaiseOpenFileLimit() {
#ifdef _WIN32
    return 0;
#else
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return 0;
    if (limit.rlim_cur < limit.rlim_max) {
        rlimit raised = limit;
        raised.rlim_cur = limit.rlim_max;
        if (::setrlimit(RLIMIT_NOFILE, &raised) == 0) limit = raised;
    }
    return limit.rlim_cur == RLIM_INFINITY ? -1 : static_cast<long>(limit.rlim_cur);
#endif
}

}  // namespace pendara
