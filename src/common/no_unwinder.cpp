// Linked statically, one object of the camera's C library (its signal return code) names the unwinder's routines for
// ARM, and with them come 6 KB that nothing ever calls: there are no exceptions, and nobody asks for a backtrace.
#include <stdlib.h> // tells which C library this is

#if defined(__ARM_EABI__) && defined(__UCLIBC__)
extern "C" {
void __aeabi_unwind_cpp_pr0();
void __aeabi_unwind_cpp_pr1();
void __aeabi_unwind_cpp_pr2();
void __aeabi_unwind_cpp_pr0() {}
void __aeabi_unwind_cpp_pr1() {}
void __aeabi_unwind_cpp_pr2() {}
}
#endif
