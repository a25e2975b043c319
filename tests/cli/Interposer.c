/* SPDX-License-Identifier: MIT
 * Copyright (c) the Vexa camera utility library authors
 *
 * Loaded before the C library, this makes the system behave as the tests want it, by environment variables:
 *
 *     VEXA_REFUSE_ANONYMOUS   no file system has anonymous files (O_TMPFILE), as some network and older overlay ones
 *     VEXA_HIDE_PROC          /proc is not mounted
 *     VEXA_REQUIRE_CLOEXEC    a file that is opened without O_CLOEXEC ends the process
 *     VEXA_END_AT=CALL:N:SIG  the Nth call of open, write, name (link, rename) or fsync sends signal SIG to the
 * process; after it no thread writes any more, so that the process cannot end by itself
 */
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <signal.h>
#include <stdarg.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/types.h>
#include <unistd.h>

static atomic_int calls;
static atomic_int ended;

static void count(const char* call) {
    const char* wanted = getenv("VEXA_END_AT");
    const size_t length = strlen(call);
    if (wanted == NULL || strncmp(wanted, call, length) != 0 || wanted[length] != ':') {
        return;
    }
    char* rest;
    const long number = strtol(wanted + length + 1, &rest, 10);
    if (atomic_fetch_add(&calls, 1) + 1 == number) {
        atomic_store(&ended, 1);
        kill(getpid(), (int)strtol(rest + 1, NULL, 10));
    }
}

static int hidden(const char* path) {
    return getenv("VEXA_HIDE_PROC") != NULL && strncmp(path, "/proc", 5) == 0;
}

static int open_as(const char* name, const char* path, int flags, mode_t mode) {
    if (getenv("VEXA_REFUSE_ANONYMOUS") != NULL && (flags & O_TMPFILE) == O_TMPFILE) {
        errno = EOPNOTSUPP;
        return -1;
    }
    if (hidden(path)) {
        errno = ENOENT;
        return -1;
    }
    if (getenv("VEXA_REQUIRE_CLOEXEC") != NULL && (flags & O_CLOEXEC) == 0) {
        abort();
    }
    if ((flags & O_ACCMODE) == O_WRONLY) {
        count("open");
    }
    int (*next)(const char*, int, ...);
    *(void**)&next = dlsym(RTLD_NEXT, name);
    return next(path, flags, mode);
}

/* The functions of the C library are aliases, so that only declarations repeat that library's headers. */
#define DEFINE_OPEN(name)                               \
    int ours_##name(const char* path, int flags, ...) { \
        va_list rest;                                   \
        va_start(rest, flags);                          \
        const mode_t mode = va_arg(rest, mode_t);       \
        va_end(rest);                                   \
        return open_as(#name, path, flags, mode);       \
    }                                                   \
    int name(const char*, int, ...) __attribute__((alias("ours_" #name)));

DEFINE_OPEN(open)
DEFINE_OPEN(open64)

ssize_t ours_write(int fd, const void* bytes, size_t size) {
    count("write");
    while (atomic_load(&ended)) {
        pause();
    }
    ssize_t (*next)(int, const void*, size_t);
    *(void**)&next = dlsym(RTLD_NEXT, "write");
    return next(fd, bytes, size);
}
ssize_t write(int, const void*, size_t) __attribute__((alias("ours_write")));

int ours_fsync(int fd) {
    count("fsync");
    int (*next)(int);
    *(void**)&next = dlsym(RTLD_NEXT, "fsync");
    return next(fd);
}
int fsync(int) __attribute__((alias("ours_fsync")));

int ours_access(const char* path, int mode) {
    if (hidden(path)) {
        errno = ENOENT;
        return -1;
    }
    int (*next)(const char*, int);
    *(void**)&next = dlsym(RTLD_NEXT, "access");
    return next(path, mode);
}
int access(const char*, int) __attribute__((alias("ours_access")));

int ours_linkat(int from, const char* path, int to, const char* name, int flags) {
    if (hidden(path)) {
        errno = ENOENT;
        return -1;
    }
    count("name");
    int (*next)(int, const char*, int, const char*, int);
    *(void**)&next = dlsym(RTLD_NEXT, "linkat");
    return next(from, path, to, name, flags);
}
int linkat(int, const char*, int, const char*, int) __attribute__((alias("ours_linkat")));

int ours_rename(const char* path, const char* name) {
    count("name");
    int (*next)(const char*, const char*);
    *(void**)&next = dlsym(RTLD_NEXT, "rename");
    return next(path, name);
}
int rename(const char*, const char*) __attribute__((alias("ours_rename")));

int ours_renameat2(int from, const char* path, int to, const char* name, unsigned flags) {
    count("name");
    int (*next)(int, const char*, int, const char*, unsigned);
    *(void**)&next = dlsym(RTLD_NEXT, "renameat2");
    return next(from, path, to, name, flags);
}
int renameat2(int, const char*, int, const char*, unsigned) __attribute__((alias("ours_renameat2")));
