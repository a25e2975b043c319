// SPDX-License-Identifier: MIT
// Copyright (c) the Vexa camera utility library authors
//
// Kernels that compute in single precision give the bytes of the default floating-point environment: rounding to
// nearest, subnormal numbers kept, no exception unmasked. A caller may have set another one; then it is replaced while
// the kernel runs and put back afterwards, its exception flags included. In the default environment nothing is written.
#pragma once

#include <cstdint>

namespace Vexa {

#if defined(__x86_64__)

class DefaultFloatEnvironment {
  public:
    DefaultFloatEnvironment() : m_callers(__builtin_ia32_stmxcsr()) {
        if (Differs()) {
            __builtin_ia32_ldmxcsr(kDefault);
        }
    }
    DefaultFloatEnvironment(const DefaultFloatEnvironment&) = delete;
    DefaultFloatEnvironment& operator=(const DefaultFloatEnvironment&) = delete;
    ~DefaultFloatEnvironment() {
        if (Differs()) {
            __builtin_ia32_ldmxcsr(m_callers);
        }
    }

  private:
    static constexpr uint32_t kDefault = 0x1F80;  ///< MXCSR: all exceptions masked, nothing else set
    static constexpr uint32_t kFlags = 0x003F;    ///< exceptions that have occurred

    bool Differs() const { return (m_callers & ~kFlags) != kDefault; }

    const uint32_t m_callers;
};

#elif defined(__aarch64__)

class DefaultFloatEnvironment {
  public:
    DefaultFloatEnvironment() {
        __asm__ volatile("mrs %0, fpcr" : "=r"(m_callersControl));
        if (m_callersControl != 0) {
            __asm__ volatile("mrs %0, fpsr" : "=r"(m_callersStatus));
            __asm__ volatile("msr fpcr, xzr" ::: "memory");
        }
    }
    DefaultFloatEnvironment(const DefaultFloatEnvironment&) = delete;
    DefaultFloatEnvironment& operator=(const DefaultFloatEnvironment&) = delete;
    ~DefaultFloatEnvironment() {
        if (m_callersControl != 0) {
            __asm__ volatile("msr fpsr, %0" ::"r"(m_callersStatus) : "memory");
            __asm__ volatile("msr fpcr, %0" ::"r"(m_callersControl) : "memory");
        }
    }

  private:
    uint64_t m_callersControl = 0;
    uint64_t m_callersStatus = 0;
};

#else

/// WebAssembly has only the default environment. Elsewhere the scalar kernels serve, which compute with whole numbers
/// only.
class DefaultFloatEnvironment {
  public:
    DefaultFloatEnvironment() {}
};

#endif

}  // namespace Vexa
