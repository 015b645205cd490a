// Preloaded into the interpreter: fails, shortens, interrupts, kills or delays the n-th system call on a path, and
// fails the n-th allocation of the extension's C++ code. Does nothing until armed by shim.py.
#define _GNU_SOURCE
#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <limits.h>
#include <signal.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

enum action { WATCH, FAIL, SHORTEN, INTERRUPT, KILL, KILL_AFTER, PAUSE };

enum { descriptors = 256 };
static char path_of[descriptors][PATH_MAX];
static char seen[1 << 18];  // "call path\n" of each call on a path below `root`
static size_t seen_size;

static struct {
    char root[PATH_MAX], call[16], path[PATH_MAX];  // an empty call or path matches all
    int first, count, action, value, matched;
} rule;

void shim_arm(const char* root, const char* call, const char* path, int first, int count, int action, int value) {
    rule.root[0] = '\0';
    snprintf(rule.call, sizeof rule.call, "%s", call);
    snprintf(rule.path, sizeof rule.path, "%s", path);
    rule.first = first, rule.count = count, rule.action = action, rule.value = value, rule.matched = 0;
    seen[seen_size = 0] = '\0';
    snprintf(rule.root, sizeof rule.root, "%s", root);
}
const char* shim_disarm(void) {
    rule.root[0] = '\0';
    return seen;
}
int shim_hits(void) { return rule.matched - rule.first < rule.count ? rule.matched - rule.first : rule.count; }

static int is_below_root(const char* path) {
    return rule.root[0] != '\0' && path != NULL && strncmp(path, rule.root, strlen(rule.root)) == 0;
}

// The action for this call.
static int action_on(const char* call, const char* path) {
    if (!is_below_root(path)) return WATCH;
    if (seen_size + strlen(call) + strlen(path) + 3 < sizeof seen)
        seen_size += (size_t)sprintf(seen + seen_size, "%s %s\n", call, path);
    if ((rule.call[0] && strcmp(rule.call, call)) || (rule.path[0] && strcmp(rule.path, path))) return WATCH;
    const int number = rule.matched++ - rule.first;
    return number >= 0 && number < rule.count ? rule.action : WATCH;
}

// Performs the action. Whether the call fails without being made.
static int stands_in(int action) {
    if (action == KILL) raise(SIGKILL);
    if (action == INTERRUPT) raise(rule.value);
    if (action == PAUSE) usleep((useconds_t)rule.value * 1000);
    if (action == FAIL || action == INTERRUPT) errno = action == FAIL ? rule.value : EINTR;
    return action == FAIL || action == INTERRUPT;
}

static const char* path_at(int descriptor) {
    return descriptor >= 0 && descriptor < descriptors && path_of[descriptor][0] ? path_of[descriptor] : NULL;
}

#define REAL(name) ((__typeof__(&name))dlsym(RTLD_NEXT, #name))

#define OPEN(name)                                                                      \
    int name(const char* path, int flags, ...) {                                        \
        va_list rest;                                                                   \
        va_start(rest, flags);                                                          \
        const mode_t mode = flags & (O_CREAT | O_TMPFILE) ? va_arg(rest, mode_t) : 0;   \
        va_end(rest);                                                                   \
        if (stands_in(action_on("open", path))) return -1;                              \
        const int result = REAL(name)(path, flags, mode);                               \
        if (result >= 0 && result < descriptors)                                        \
            snprintf(path_of[result], PATH_MAX, "%s", is_below_root(path) ? path : ""); \
        return result;                                                                  \
    }
OPEN(open)
OPEN(open64)

int close(int descriptor) {
    const char* path = path_at(descriptor);
    const int action = action_on("close", path);
    const int result = action == KILL ? stands_in(action) : REAL(close)(descriptor);
    if (path != NULL) path_of[descriptor][0] = '\0';
    return stands_in(action) ? -1 : result;  // the descriptor is closed even after an error
}

#define TRANSFER(name, type)                                                                          \
    ssize_t name(int descriptor, type buffer, size_t size) {                                          \
        const int action = action_on(#name, path_at(descriptor));                                     \
        if (stands_in(action)) return -1;                                                             \
        const int is_less = (action == SHORTEN || action == KILL_AFTER) && size > (size_t)rule.value; \
        const ssize_t result = REAL(name)(descriptor, buffer, is_less ? (size_t)rule.value : size);   \
        if (action == KILL_AFTER) raise(SIGKILL);                                                     \
        return result;                                                                                \
    }
TRANSFER(read, void*)
TRANSFER(write, const void*)

// Wraps calls. `as` is the call's name in rules, `key` its path.
#define CALL(type, failed, name, as, key, parameters, arguments) \
    type name parameters {                                       \
        if (stands_in(action_on(as, key))) return failed;        \
        return REAL(name) arguments;                             \
    }
#define ON_PATH(name, as, more, passed) CALL(int, -1, name, as, path, (const char* path more), (path passed))
#define ON_FILE(name, as, more, passed) \
    CALL(int, -1, name, as, path_at(descriptor), (int descriptor more), (descriptor passed))
#define AND(...) , __VA_ARGS__
#define NONE
ON_PATH(stat, "stat", AND(struct stat* status), AND(status))
ON_PATH(stat64, "stat", AND(struct stat64* status), AND(status))
ON_PATH(lstat64, "lstat", AND(struct stat64* status), AND(status))
ON_PATH(access, "access", AND(int mode), AND(mode))
ON_PATH(mkdir, "mkdir", AND(mode_t mode), AND(mode))
ON_PATH(rmdir, "rmdir", NONE, NONE)
ON_PATH(unlink, "unlink", NONE, NONE)
ON_PATH(rename, "rename", AND(const char* to), AND(to))
ON_PATH(link, "link", AND(const char* to), AND(to))
ON_FILE(fstat, "fstat", AND(struct stat* status), AND(status))
ON_FILE(fstat64, "fstat", AND(struct stat64* status), AND(status))
ON_FILE(fsync, "fsync", NONE, NONE)
ON_FILE(flock, "flock", AND(int operation), AND(operation))
ON_FILE(fchmod, "fchmod", AND(mode_t mode), AND(mode))
ON_FILE(fchown, "fchown", AND(uid_t owner, gid_t group), AND(owner, group))
ON_FILE(isatty, "isatty", NONE, NONE)
CALL(off64_t, -1, lseek64, "lseek", path_at(descriptor), (int descriptor, off64_t offset, int whence),
     (descriptor, offset, whence))
CALL(DIR*, NULL, opendir, "opendir", path, (const char* path), (path))
int fstatat64(int directory, const char* path, struct stat64* status, int flags) {
    if (stands_in(action_on(flags & AT_SYMLINK_NOFOLLOW ? "lstat" : "stat", path))) return -1;
    return REAL(fstatat64)(directory, path, status, flags);
}
int linkat(int from_directory, const char* from, int to_directory, const char* to, int flags) {
    if (stands_in(action_on("link", from))) return -1;
    return REAL(linkat)(from_directory, from, to_directory, to, flags);
}

// C++ allocations: operator new is linked statically, so malloc's caller is in the extension.
static int allocations_left, allocations_failing;
void shim_starve(int first, int count) { allocations_left = first, allocations_failing = count; }

void* __libc_malloc(size_t size);
void* malloc(size_t size) {
    Dl_info caller;
    if (allocations_failing > 0 && dladdr(__builtin_return_address(0), &caller) != 0 &&
        strstr(caller.dli_fname, "/skill.cpython") != NULL) {
        if (allocations_left > 0)
            allocations_left--;
        else if (allocations_failing-- > 0)
            return errno = ENOMEM, NULL;
    }
    return __libc_malloc(size);
}
