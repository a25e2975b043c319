/* SPDX-License-Identifier: MIT
 * Copyright (c) the Vexa camera utility library authors
 *
 * Loaded before the C library, this makes every file system one that has no anonymous files (O_TMPFILE), as some
 * network and older overlay file systems are; the program then works with hidden temporary names.
 */
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <stdarg.h>

typedef int (*OpenFunc)(const char*, int, ...);

static int open_as(const char* name, const char* path, int flags, mode_t mode) {
    if ((flags & O_TMPFILE) == O_TMPFILE) {
        errno = EOPNOTSUPP;
        return -1;
    }
    OpenFunc next;
    *(void**)&next = dlsym(RTLD_NEXT, name);
    return next(path, flags, mode);
}

/* The function of the C library is an alias, so that only a declaration repeats that library's header. */
#define DEFINE_OPEN(name)                                   \
    int refusing_##name(const char* path, int flags, ...) { \
        va_list rest;                                       \
        va_start(rest, flags);                              \
        const mode_t mode = va_arg(rest, mode_t);           \
        va_end(rest);                                       \
        return open_as(#name, path, flags, mode);           \
    }                                                       \
    int name(const char*, int, ...) __attribute__((alias("refusing_" #name)));

DEFINE_OPEN(open)
DEFINE_OPEN(open64)
