/* SPDX-License-Identifier: MIT
 * Copyright (c) the Vexa camera utility library authors
 *
 * Loaded before the C library, this lets things happen at the worst moment. INTERFERE says which:
 *
 *   interrupted   every second read and write ends with EINTR before it does anything, every other one is short
 *   ended         SIGTERM arrives right after a file got a name, or just before it is renamed
 *   planted       before a file is created by name, a link of that name points at the file VICTIM
 *
 * With INTERFERE_NAMED no file system has anonymous files (O_TMPFILE), and results get hidden names at first.
 */
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdarg.h>
#include <stdatomic.h>
#include <stdlib.h>
#include <string.h>
#include <sys/types.h>
#include <unistd.h>

#define NEXT(variable, name) *(void**)&variable = dlsym(RTLD_NEXT, name)

static int is_chosen(const char* what) {
    const char* chosen = getenv("INTERFERE");
    return chosen != NULL && strcmp(chosen, what) == 0;
}

/* Long enough for a thread that waits for the signal to end the program, unless something holds it back. */
static void end_now(void) {
    if (is_chosen("ended")) {
        (void)kill(getpid(), SIGTERM);
        (void)usleep(200000);
    }
}

static void plant(const char* path) {
    static atomic_int planted;
    const char* victim = getenv("VICTIM");
    if (is_chosen("planted") && victim != NULL && atomic_fetch_add(&planted, 1) == 0 && symlink(victim, path) != 0) {
        abort();
    }
}

static int is_refused(int flags) {
    return (flags & O_TMPFILE) == O_TMPFILE && getenv("INTERFERE_NAMED") != NULL;
}

static int opened(int fd, int flags) {
    if (fd >= 0 && (flags & O_CREAT) != 0) {
        const int error = errno;
        end_now();
        errno = error;
    }
    return fd;
}

/* The function of the C library is an alias, so that only a declaration repeats that library's header. */
#define DEFINE_OPEN(name)                                     \
    int interfered_##name(const char* path, int flags, ...) { \
        va_list rest;                                         \
        va_start(rest, flags);                                \
        const mode_t mode = va_arg(rest, mode_t);             \
        va_end(rest);                                         \
        int (*next)(const char*, int, ...);                   \
        NEXT(next, #name);                                    \
        if (is_refused(flags)) {                              \
            errno = EOPNOTSUPP;                               \
            return -1;                                        \
        }                                                     \
        if ((flags & O_CREAT) != 0) {                         \
            plant(path);                                      \
        }                                                     \
        return opened(next(path, flags, mode), flags);        \
    }                                                         \
    int name(const char*, int, ...) __attribute__((alias("interfered_" #name)));

#define DEFINE_OPENAT(name)                                               \
    int interfered_##name(int folder, const char* path, int flags, ...) { \
        va_list rest;                                                     \
        va_start(rest, flags);                                            \
        const mode_t mode = va_arg(rest, mode_t);                         \
        va_end(rest);                                                     \
        int (*next)(int, const char*, int, ...);                          \
        NEXT(next, #name);                                                \
        if (is_refused(flags)) {                                          \
            errno = EOPNOTSUPP;                                           \
            return -1;                                                    \
        }                                                                 \
        if ((flags & O_CREAT) != 0 && folder == AT_FDCWD) {               \
            plant(path);                                                  \
        }                                                                 \
        return opened(next(folder, path, flags, mode), flags);            \
    }                                                                     \
    int name(int, const char*, int, ...) __attribute__((alias("interfered_" #name)));

DEFINE_OPEN(open)
DEFINE_OPEN(open64)
DEFINE_OPENAT(openat)
DEFINE_OPENAT(openat64)

int linkat(int from_folder, const char* from, int to_folder, const char* to, int flags) {
    int (*next)(int, const char*, int, const char*, int);
    NEXT(next, "linkat");
    const int result = next(from_folder, from, to_folder, to, flags);
    const int error = errno;
    if (result == 0) {
        end_now();
    }
    errno = error;
    return result;
}

int rename(const char* from, const char* to) {
    int (*next)(const char*, const char*);
    NEXT(next, "rename");
    end_now();
    return next(from, to);
}

int renameat2(int from_folder, const char* from, int to_folder, const char* to, unsigned flags) {
    int (*next)(int, const char*, int, const char*, unsigned);
    NEXT(next, "renameat2");
    end_now();
    return next(from_folder, from, to_folder, to, flags);
}

/* How many bytes a call may move; none: it is interrupted. */
static size_t allowed(size_t count) {
    static atomic_uint calls;
    if (!is_chosen("interrupted")) {
        return count;
    }
    const unsigned call = atomic_fetch_add(&calls, 1);
    return call % 2 == 0 ? 0 : (count + 1) / 2;
}

ssize_t read(int fd, void* buffer, size_t count) {
    ssize_t (*next)(int, void*, size_t);
    NEXT(next, "read");
    const size_t some = allowed(count);
    if (some == 0 && count > 0) {
        errno = EINTR;
        return -1;
    }
    return next(fd, buffer, some);
}

ssize_t write(int fd, const void* buffer, size_t count) {
    ssize_t (*next)(int, const void*, size_t);
    NEXT(next, "write");
    const size_t some = allowed(count);
    if (some == 0 && count > 0) {
        errno = EINTR;
        return -1;
    }
    return next(fd, buffer, some);
}
