// How a kernel is written once and compiled for each instruction set, with Highway.
//
// A file of kernels, here src/frontend/algebra/kernel.cpp, looks like this:
//
//     #include "frontend/algebra/kernel.hpp"                    // what it offers
//
//     #undef HWY_TARGET_INCLUDE
//     #define HWY_TARGET_INCLUDE "frontend/algebra/kernel.cpp"  // itself
//     #include "frontend/algebra/each_set.hpp"
//     #include "frontend/algebra/octet.hpp"                     // eight lanes, if it needs them
//
//     HWY_BEFORE_NAMESPACE();
//     namespace activeset::frontend::HWY_NAMESPACE {
//     namespace {
//     double sum(const double* values, std::size_t count) { ... }
//     }  // namespace
//     }  // namespace activeset::frontend::HWY_NAMESPACE
//     HWY_AFTER_NAMESPACE();
//
//     #if HWY_ONCE
//     namespace activeset::frontend {
//     SumKernel* sumKernel(InstructionSet set) {                // for tests, which compare sets
//         return ACTIVESET_CHOOSE(set, sum);
//     }
//     double sumOf(const double* values, std::size_t count) {
//         static SumKernel* const kernel = sumKernel(instructionSet());
//         return kernel(values, count);
//     }
//     }  // namespace activeset::frontend
//     #endif
//
// The compiler reads the file once for each set. The part between HWY_BEFORE_NAMESPACE and
// HWY_AFTER_NAMESPACE then stands in a namespace of its own (HWY_NAMESPACE) and may use the
// instructions of its set; everything else, and every function of a header that such a part calls
// without being compiled into it, stays what every processor can run. So such a part
//   - calls nothing of the standard library, nor any other function that is not part of it, and
//     marks its own inline functions HWY_INLINE and its lambdas HWY_ATTR;
//   - has no class whose constructor or assignment the compiler writes, members with initialisers
//     among them: those functions would be compiled for the baseline;
//   - includes nothing; what is included stands above it;
//   - computes by explicit FMA, a fixed tree of eight lanes (octet.hpp) and no order of its own, so
//     that the bits are the same for every set.
//
// Only Highway's headers are used. Its choice at run time is in its shared library, which we do
// not want to depend on; ACTIVESET_CHOOSE stands for it.
#ifndef ACTIVESET_SRC_FRONTEND_ALGEBRA_EACH_SET_HPP
#define ACTIVESET_SRC_FRONTEND_ALGEBRA_EACH_SET_HPP

// Left: the baseline, AVX2 with FMA, and AVX-512; on other processors what Highway knows.
#define HWY_DISABLED_TARGETS (HWY_SSSE3 | HWY_SSE4 | HWY_AVX3_DL)
// Part of Highway's AVX2, but nothing that instructionSet() asks for.
#define HWY_DISABLE_PCLMUL_AES
#define HWY_DISABLE_F16C

#include <hwy/foreach_target.h>

#include "frontend/algebra/instruction_set.hpp"

/// The function of that name for an instruction set; behind `#if HWY_ONCE` only.
#define ACTIVESET_CHOOSE(set, function)                                       \
    ::activeset::frontend::chosenOf<decltype(HWY_STATIC_DISPATCH(function))>( \
        set, &HWY_STATIC_DISPATCH(function), HWY_CHOOSE_AVX2(function), HWY_CHOOSE_AVX3(function))

#endif

#include <hwy/highway.h>  // anew for each set
