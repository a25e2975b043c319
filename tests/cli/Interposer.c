/* SPDX-License-Identifier: MIT
 * Copyright (c) the Vexa camera utility library authors
 *
 * Loaded before the C library, this makes the system behave as the tests want it, by environment variables:
 *
 *     VEXA_REFUSE_ANONYMOUS   no file system has anonymous files (O_TMPFILE), as some network and older overlay ones
 *     VEXA_HIDE_PROC          /proc is not mounted
 *     VEXA_REQUIRE_CLOEXEC    a file that is opened without O_CLOEXEC ends the process
 *     VEXA_INTERRUPT          every second read and write ends with EINTR before it does anything, the others are short
 *     VEXA_PLANT=VICTIM       before a file is created by name, a link of that name points at the file VICTIM
 *     VEXA_END_AT_NAMES       SIGTERM arrives right after a file got a name, or just before it is renamed
 *     VEXA_END_AT=CALL:N:SIG  the Nth call of open, write, name (link, rename) or fsync sends signal SIG to the
 *                             process; after it no thread writes any more, so that the process cannot end by itself
 *     VEXA_FAIL=CALL:N:ERROR  the Nth call of CALL since main() began (-1: every one) fails with this error number;
 *                             the file that VEXA_CALLS names then holds how many there were; CALL root is the
 *                             opening of the folder "/"
 */
#include <dirent.h>
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <signal.h>
#include <stdarg.h>
#include <stdatomic.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <unistd.h>

/* The functions of the C library are aliases, so that only declarations repeat that library's headers. */
#define ALIAS(name) __attribute__((alias("ours_" #name)))
#define NEXT(variable, name) *(void**)&(variable) = dlsym(RTLD_NEXT, name)

static atomic_int calls;
static atomic_int ended;

static int is_set(const char* variable) {
    return getenv(variable) != NULL;
}

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

static atomic_int began; /* main() has opened its first file, the folder "/" */
static atomic_int failable;

/* Whether this call is the one that has to fail, with errno set. */
static int fails(const char* call) {
    const char* wanted = getenv("VEXA_FAIL");
    const size_t length = strlen(call);
    if (atomic_load(&began) == 0 || wanted == NULL || strncmp(wanted, call, length) != 0 || wanted[length] != ':') {
        return 0;
    }
    char* rest;
    const long number = strtol(wanted + length + 1, &rest, 10);
    if (atomic_fetch_add(&failable, 1) + 1 != number && number != -1) {
        return 0;
    }
    errno = (int)strtol(rest + 1, NULL, 10);
    return 1;
}

__attribute__((destructor)) static void tell_calls(void) {
    const char* path = getenv("VEXA_CALLS");
    if (path == NULL) {
        return;
    }
    FILE* file = fopen(path, "w");
    if (file != NULL) {
        fprintf(file, "%d", atomic_load(&failable));
        fclose(file);
    }
}

/* Long enough for a thread that waits for the signal to end the program, unless something holds it back. */
static void end_at_name(void) {
    if (is_set("VEXA_END_AT_NAMES")) {
        const int error = errno;
        kill(getpid(), SIGTERM);
        usleep(200000);
        errno = error;
    }
}

static void plant(const char* path) {
    static atomic_int planted;
    const char* victim = getenv("VEXA_PLANT");
    if (victim != NULL && atomic_fetch_add(&planted, 1) == 0 && symlink(victim, path) != 0) {
        abort();
    }
}

static int hidden(const char* path) {
    return is_set("VEXA_HIDE_PROC") && strncmp(path, "/proc", 5) == 0;
}

/* 0, or the error with which a file cannot be opened. */
static int before_open(const char* path, int flags) {
    if (is_set("VEXA_REFUSE_ANONYMOUS") && (flags & O_TMPFILE) == O_TMPFILE) {
        return EOPNOTSUPP;
    }
    if (hidden(path)) {
        return ENOENT;
    }
    if (strcmp(path, "/") == 0) {
        atomic_store(&began, 1);
        if (fails("root")) {
            return errno;
        }
    } else if (fails("open")) {
        return errno;
    }
    if (is_set("VEXA_REQUIRE_CLOEXEC") && (flags & O_CLOEXEC) == 0) {
        abort();
    }
    if ((flags & O_ACCMODE) == O_WRONLY) {
        count("open");
    }
    if ((flags & O_CREAT) != 0) {
        plant(path);
    }
    return 0;
}

static int opened(int fd, int flags) {
    if (fd >= 0 && (flags & O_CREAT) != 0) {
        end_at_name();
    }
    return fd;
}

static mode_t mode_of(va_list rest) {
    return va_arg(rest, mode_t);
}

#define DEFINE_OPEN(name)                               \
    int ours_##name(const char* path, int flags, ...) { \
        va_list rest;                                   \
        va_start(rest, flags);                          \
        const mode_t mode = mode_of(rest);              \
        va_end(rest);                                   \
        const int error = before_open(path, flags);     \
        if (error != 0) {                               \
            errno = error;                              \
            return -1;                                  \
        }                                               \
        int (*next)(const char*, int, ...);             \
        NEXT(next, #name);                              \
        return opened(next(path, flags, mode), flags);  \
    }                                                   \
    int name(const char*, int, ...) ALIAS(name);

DEFINE_OPEN(open)
DEFINE_OPEN(open64)

/* How many bytes a call may move; none: it is interrupted. */
static size_t allowed(size_t size) {
    static atomic_uint moves;
    if (!is_set("VEXA_INTERRUPT")) {
        return size;
    }
    return atomic_fetch_add(&moves, 1) % 2 == 0 ? 0 : (size + 1) / 2;
}

ssize_t ours_read(int fd, void* bytes, size_t size) {
    const size_t some = allowed(size);
    if (some == 0 && size > 0) {
        errno = EINTR;
        return -1;
    }
    if (fails("read")) {
        return -1;
    }
    ssize_t (*next)(int, void*, size_t);
    NEXT(next, "read");
    return next(fd, bytes, some);
}
ssize_t read(int, void*, size_t) ALIAS(read);

ssize_t ours_write(int fd, const void* bytes, size_t size) {
    count("write");
    while (atomic_load(&ended)) {
        pause();
    }
    const size_t some = allowed(size);
    if (some == 0 && size > 0) {
        errno = EINTR;
        return -1;
    }
    if (fails("write")) {
        return -1;
    }
    ssize_t (*next)(int, const void*, size_t);
    NEXT(next, "write");
    return next(fd, bytes, some);
}
ssize_t write(int, const void*, size_t) ALIAS(write);

int ours_fsync(int fd) {
    count("fsync");
    if (fails("fsync")) {
        return -1;
    }
    int (*next)(int);
    NEXT(next, "fsync");
    return next(fd);
}
int fsync(int) ALIAS(fsync);

int ours_access(const char* path, int mode) {
    if (hidden(path)) {
        errno = ENOENT;
        return -1;
    }
    int (*next)(const char*, int);
    NEXT(next, "access");
    return next(path, mode);
}
int access(const char*, int) ALIAS(access);

int ours_linkat(int from, const char* path, int to, const char* name, int flags) {
    if (hidden(path)) {
        errno = ENOENT;
        return -1;
    }
    count("name");
    if (fails("linkat")) {
        return -1;
    }
    int (*next)(int, const char*, int, const char*, int);
    NEXT(next, "linkat");
    const int result = next(from, path, to, name, flags);
    if (result == 0) {
        end_at_name();
    }
    return result;
}
int linkat(int, const char*, int, const char*, int) ALIAS(linkat);

int ours_rename(const char* path, const char* name) {
    count("name");
    end_at_name();
    if (fails("rename")) {
        return -1;
    }
    int (*next)(const char*, const char*);
    NEXT(next, "rename");
    return next(path, name);
}
int rename(const char*, const char*) ALIAS(rename);

int ours_renameat2(int from, const char* path, int to, const char* name, unsigned flags) {
    count("name");
    end_at_name();
    if (fails("rename")) {
        return -1;
    }
    int (*next)(int, const char*, int, const char*, unsigned);
    NEXT(next, "renameat2");
    return next(from, path, to, name, flags);
}
int renameat2(int, const char*, int, const char*, unsigned) ALIAS(renameat2);

/* Calls that do nothing here but fail. */
#define DEFINE_FAILING(type, failure, name, parameters, arguments) \
    type ours_##name parameters {                                  \
        if (fails(#name)) {                                        \
            return failure;                                        \
        }                                                          \
        type(*next) parameters;                                    \
        NEXT(next, #name);                                         \
        return next arguments;                                     \
    }                                                              \
    type name parameters ALIAS(name);

DEFINE_FAILING(int, -1, close, (int fd), (fd))
DEFINE_FAILING(int, -1, fstat, (int fd, struct stat* status), (fd, status))
DEFINE_FAILING(int, -1, fchmod, (int fd, mode_t mode), (fd, mode))
DEFINE_FAILING(int, -1, fchown, (int fd, uid_t user, gid_t group), (fd, user, group))
DEFINE_FAILING(int, -1, unlink, (const char* path), (path))
DEFINE_FAILING(int, -1, faccessat, (int folder, const char* path, int mode, int flags), (folder, path, mode, flags))
DEFINE_FAILING(ssize_t, -1, readlink, (const char* path, char* to, size_t size), (path, to, size))
DEFINE_FAILING(DIR*, NULL, fdopendir, (int fd), (fd))
DEFINE_FAILING(int, -1, memfd_create, (const char* name, unsigned flags), (name, flags))
DEFINE_FAILING(int, -1, mkostemp, (char* name, int flags), (name, flags))
DEFINE_FAILING(ssize_t, -1, pread, (int fd, void* bytes, size_t size, off_t from), (fd, bytes, size, from))
DEFINE_FAILING(void*, MAP_FAILED, mmap, (void* at, size_t size, int rights, int flags, int fd, off_t from),
               (at, size, rights, flags, fd, from))

int ours_pthread_create(pthread_t* thread, const pthread_attr_t* how, void* (*work)(void*), void* argument) {
    if (fails("pthread_create")) {
        return errno;
    }
    int (*next)(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*);
    NEXT(next, "pthread_create");
    return next(thread, how, work, argument);
}
int pthread_create(pthread_t*, const pthread_attr_t*, void* (*)(void*), void*) ALIAS(pthread_create);

DEFINE_FAILING(void*, NULL, aligned_alloc, (size_t border, size_t size), (border, size))

char* ours_realpath(const char* path, char* resolved) {
    if (hidden(path)) {
        errno = ENOENT;
        return NULL;
    }
    char* (*next)(const char*, char*);
    NEXT(next, "realpath");
    return next(path, resolved);
}
char* realpath(const char*, char*) ALIAS(realpath);

extern void* __libc_malloc(size_t size);

/* dlsym may allocate, so it is not asked. */
void* ours_malloc(size_t size) {
    return fails("malloc") ? NULL : __libc_malloc(size);
}
void* malloc(size_t) ALIAS(malloc);
