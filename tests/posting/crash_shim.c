/* An LD_PRELOAD library for the crash tests, never linked into a program: it counts the calls
 * that change files (write, pwrite, fsync, fdatasync, ftruncate on regular files; rename and
 * unlink) and, when CRASH_SHIM_KILL_AT is N, kills its process with SIGKILL just before the
 * N-th one runs. CRASH_SHIM_TRACE names a file that gets one line per counted call: number,
 * call and file. Without either variable it only passes the calls on. */

#define _GNU_SOURCE
#include <dlfcn.h>
#include <fcntl.h>
#include <signal.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/uio.h>
#include <unistd.h>

static atomic_long counted;
static long kill_at = -1;
static int trace_fd = -1;

typedef ssize_t (*write_fn)(int, const void*, size_t);
typedef ssize_t (*writev_fn)(int, const struct iovec*, int);
typedef ssize_t (*pwrite_fn)(int, const void*, size_t, off_t);
typedef int (*fd_fn)(int);
typedef int (*truncate_fn)(int, off_t);
typedef int (*rename_fn)(const char*, const char*);
typedef int (*unlink_fn)(const char*);

/* The next definition of a function: the C library's. */
static void* next_symbol(void** slot, const char* name) {
    if (!*slot) *slot = dlsym(RTLD_NEXT, name);
    if (!*slot) abort();
    return *slot;
}

#define REAL(type, name) ((type)next_symbol(&real_##name, #name))
static void* real_write;
static void* real_pwrite;
static void* real_pwrite64;
static void* real_writev;
static void* real_fsync;
static void* real_fdatasync;
static void* real_ftruncate;
static void* real_ftruncate64;
static void* real_rename;
static void* real_unlink;

__attribute__((constructor)) static void start(void) {
    const char* k = getenv("CRASH_SHIM_KILL_AT");
    if (k && *k) kill_at = atol(k);
    const char* t = getenv("CRASH_SHIM_TRACE");
    if (t && *t) trace_fd = open(t, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
}

static int regular(int fd) {
    struct stat st;
    return fd != trace_fd && fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
}

static void count(const char* call, int fd, const char* path) {
    long n = atomic_fetch_add(&counted, 1) + 1;
    if (trace_fd >= 0) {
        char file[4096] = "";
        if (path) {
            snprintf(file, sizeof file, "%s", path);
        } else {
            char link[64];
            snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
            ssize_t len = readlink(link, file, sizeof file - 1);
            file[len > 0 ? len : 0] = '\0';
        }
        char line[4300];
        int len = snprintf(line, sizeof line, "%ld\t%s\t%s\n", n, call, file);
        if (len > 0) REAL(write_fn, write)(trace_fd, line, (size_t)len);
    }
    if (n == kill_at) kill(getpid(), SIGKILL);
}

ssize_t write(int fd, const void* buf, size_t n) {
    if (regular(fd)) count("write", fd, NULL);
    return REAL(write_fn, write)(fd, buf, n);
}

ssize_t writev(int fd, const struct iovec* iov, int n) {
    if (regular(fd)) count("write", fd, NULL);
    return REAL(writev_fn, writev)(fd, iov, n);
}

ssize_t pwrite(int fd, const void* buf, size_t n, off_t at) {
    if (regular(fd)) count("pwrite", fd, NULL);
    return REAL(pwrite_fn, pwrite)(fd, buf, n, at);
}

ssize_t pwrite64(int fd, const void* buf, size_t n, off_t at) {
    if (regular(fd)) count("pwrite", fd, NULL);
    return REAL(pwrite_fn, pwrite64)(fd, buf, n, at);
}

int fsync(int fd) {
    if (regular(fd)) count("fsync", fd, NULL);
    return REAL(fd_fn, fsync)(fd);
}

int fdatasync(int fd) {
    if (regular(fd)) count("fsync", fd, NULL);
    return REAL(fd_fn, fdatasync)(fd);
}

int ftruncate(int fd, off_t size) {
    if (regular(fd)) count("ftruncate", fd, NULL);
    return REAL(truncate_fn, ftruncate)(fd, size);
}

int ftruncate64(int fd, off_t size) {
    if (regular(fd)) count("ftruncate", fd, NULL);
    return REAL(truncate_fn, ftruncate64)(fd, size);
}

int rename(const char* from, const char* to) {
    count("rename", -1, to);
    return REAL(rename_fn, rename)(from, to);
}

int unlink(const char* path) {
    count("unlink", -1, path);
    return REAL(unlink_fn, unlink)(path);
}
