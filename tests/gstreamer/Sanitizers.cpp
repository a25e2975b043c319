// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// What sanitizers cannot know about GLib and GStreamer, which are compiled without them.
//
// Address sanitizer: constructors of shared libraries allocate tables that live as long as the process; GLib's quarks
// move to larger ones and leave the old behind. Everything that is allocated later is looked at.
//
// Thread sanitizer: GLib's locks are futexes that it does not see. The functions below stand before GLib's own, call
// them, and say what they order. What these libraries do to memory themselves is ignored; what our code and the tests
// do, in whichever thread GStreamer calls them, is looked at.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
#define VEXA_ADDRESS_SANITIZER
#elif __has_feature(thread_sanitizer)
#define VEXA_THREAD_SANITIZER
#endif
#endif
#ifdef __SANITIZE_ADDRESS__
#define VEXA_ADDRESS_SANITIZER
#endif
#ifdef __SANITIZE_THREAD__
#define VEXA_THREAD_SANITIZER
#endif

// The sanitizers prescribe the names of these hooks, GLib those further down.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)

#ifdef VEXA_ADDRESS_SANITIZER

extern "C" {

const char* __asan_default_options();
const char* __lsan_default_suppressions();

/// Whole call stacks, which the suppression below needs.
const char* __asan_default_options() {
    return "fast_unwind_on_malloc=0";
}

const char* __lsan_default_suppressions() {
    return "leak:ld-linux\n";
}

}  // extern "C"

#endif

#ifdef VEXA_THREAD_SANITIZER

#include <dlfcn.h>
#include <glib.h>
#include <sanitizer/tsan_interface.h>

namespace {

/// The function of that name behind this program's own.
template <class Function>
Function* Next(const char* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

extern "C" {

const char* __tsan_default_options();
const char* __tsan_default_suppressions();

const char* __tsan_default_options() {
    return "halt_on_error=1";
}

const char* __tsan_default_suppressions() {
    return "called_from_lib:libglib-2.0.so\n"
           "called_from_lib:libgobject-2.0.so\n"
           "called_from_lib:libgstreamer-1.0.so\n"
           "called_from_lib:libgstbase-1.0.so\n"
           "called_from_lib:libgstvideo-1.0.so\n"
           "called_from_lib:libgstcheck-1.0.so\n";
}

void g_mutex_lock(GMutex* mutex) {
    static auto* const next = Next<void(GMutex*)>("g_mutex_lock");
    next(mutex);
    __tsan_acquire(mutex);
}

gboolean g_mutex_trylock(GMutex* mutex) {
    static auto* const next = Next<gboolean(GMutex*)>("g_mutex_trylock");
    const gboolean locked = next(mutex);
    if (locked != FALSE) {
        __tsan_acquire(mutex);
    }
    return locked;
}

void g_mutex_unlock(GMutex* mutex) {
    static auto* const next = Next<void(GMutex*)>("g_mutex_unlock");
    __tsan_release(mutex);
    next(mutex);
}

void g_rec_mutex_lock(GRecMutex* mutex) {
    static auto* const next = Next<void(GRecMutex*)>("g_rec_mutex_lock");
    next(mutex);
    __tsan_acquire(mutex);
}

gboolean g_rec_mutex_trylock(GRecMutex* mutex) {
    static auto* const next = Next<gboolean(GRecMutex*)>("g_rec_mutex_trylock");
    const gboolean locked = next(mutex);
    if (locked != FALSE) {
        __tsan_acquire(mutex);
    }
    return locked;
}

void g_rec_mutex_unlock(GRecMutex* mutex) {
    static auto* const next = Next<void(GRecMutex*)>("g_rec_mutex_unlock");
    __tsan_release(mutex);
    next(mutex);
}

void g_cond_wait(GCond* condition, GMutex* mutex) {
    static auto* const next = Next<void(GCond*, GMutex*)>("g_cond_wait");
    __tsan_release(mutex);
    next(condition, mutex);
    __tsan_acquire(mutex);
}

gboolean g_cond_wait_until(GCond* condition, GMutex* mutex, gint64 end) {
    static auto* const next = Next<gboolean(GCond*, GMutex*, gint64)>("g_cond_wait_until");
    __tsan_release(mutex);
    const gboolean signalled = next(condition, mutex, end);
    __tsan_acquire(mutex);
    return signalled;
}

// GLib calls the locks of these queues within itself.

void g_async_queue_push(GAsyncQueue* queue, gpointer data) {
    static auto* const next = Next<void(GAsyncQueue*, gpointer)>("g_async_queue_push");
    __tsan_release(queue);
    next(queue, data);
}

gpointer g_async_queue_try_pop(GAsyncQueue* queue) {
    static auto* const next = Next<gpointer(GAsyncQueue*)>("g_async_queue_try_pop");
    gpointer const data = next(queue);
    __tsan_acquire(queue);
    return data;
}

gpointer g_async_queue_timeout_pop(GAsyncQueue* queue, guint64 timeout) {
    static auto* const next = Next<gpointer(GAsyncQueue*, guint64)>("g_async_queue_timeout_pop");
    gpointer const data = next(queue, timeout);
    __tsan_acquire(queue);
    return data;
}

}  // extern "C"

#endif

// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp,readability-identifier-naming)
