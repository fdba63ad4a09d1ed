// Makes system calls without the C library, for code that shares memory and thread-local storage
// with another thread, and starts such code with clone3. Each processor architecture has its own
// version.
//
//   x86-64   number in rax, arguments in rdi, rsi, rdx, r10, r8, result in rax; clobbers rcx, r11
//   aarch64  number in x8, arguments in x0 to x4, result in x0
#pragma once

#include <linux/sched.h>
#include <sys/syscall.h>

// Excludes a function from the sanitizers. A macro, since attributes cannot be named otherwise.
#define UNINSTRUMENTED __attribute__((no_sanitize("address", "thread", "undefined")))

namespace Kernel {

// SystemCall(): returns what the kernel returns, a negated error number on failure; leaves errno
// unchanged.
//
// CloneAndRun(): calls clone3. `arguments.stack` is a stack for the child, 16-byte aligned at both
// ends. The child calls `run(start)`, which never returns, at the top of that stack without a frame
// of the caller below it. Returns only in the parent, with the child's pid or a negated error
// number.

#if defined(__x86_64__)

UNINSTRUMENTED inline long SystemCall(long number, long first, long second = 0, long third = 0,
                                      long fourth = 0, long fifth = 0) {
    long result = 0;
    register long r10 asm("r10") = fourth;
    register long r8 asm("r8") = fifth;
    asm volatile("syscall"
                 : "=a"(result)
                 : "a"(number), "D"(first), "S"(second), "d"(third), "r"(r10), "r"(r8)
                 : "rcx", "r11", "memory");
    return result;
}

UNINSTRUMENTED inline long CloneAndRun(clone_args& arguments, void (*run)(const void*),
                                       const void* start) {
    long result = SYS_clone3;
    asm volatile(
        "syscall\n\t"
        "test %%rax, %%rax\n\t"
        "jnz 1f\n\t"
        "mov %[start], %%rdi\n\t"
        "call *%[run]\n\t"
        "ud2\n"
        "1:"
        : "+a"(result)
        : "D"(&arguments), "S"(sizeof(arguments)), [start] "r"(start), [run] "r"(run)
        : "rcx", "r11", "memory", "cc");
    return result;
}

#elif defined(__aarch64__)

// The barrier orders earlier writes before the kernel's writes, such as the word that
// CLONE_CHILD_CLEARTID clears, since this processor may reorder the two.
UNINSTRUMENTED inline long SystemCall(long number, long first, long second = 0, long third = 0,
                                      long fourth = 0, long fifth = 0) {
    register long x8 asm("x8") = number;
    register long x0 asm("x0") = first;
    register long x1 asm("x1") = second;
    register long x2 asm("x2") = third;
    register long x3 asm("x3") = fourth;
    register long x4 asm("x4") = fifth;
    asm volatile(
        "dmb ish\n\t"
        "svc #0"
        : "+r"(x0)
        : "r"(x8), "r"(x1), "r"(x2), "r"(x3), "r"(x4)
        : "memory");
    return x0;
}

UNINSTRUMENTED inline long CloneAndRun(clone_args& arguments, void (*run)(const void*),
                                       const void* start) {
    register long x8 asm("x8") = SYS_clone3;
    register long x0 asm("x0") = reinterpret_cast<long>(&arguments);
    register long x1 asm("x1") = sizeof(arguments);
    asm volatile(
        "svc #0\n\t"
        "cbnz x0, 1f\n\t"
        "mov x0, %[start]\n\t"
        "blr %[run]\n\t"
        "brk #0\n"
        "1:"
        : "+r"(x0)
        : "r"(x8), "r"(x1), [start] "r"(start), [run] "r"(run)
        : "memory");
    return x0;
}

#else
#error "write SystemCall and CloneAndRun for this processor"
#endif

}  // namespace Kernel
