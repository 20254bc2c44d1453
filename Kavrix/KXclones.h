// Run-time choice of vector instructions on x86.
#ifndef KAVRIX_KXCLONES_H
#define KAVRIX_KXCLONES_H

/// Before a function: on x86-64 the compiler makes it twice, for AVX2 and for the baseline, everything it
/// calls inlined, and the program takes the one that its processor has. The source stays a plain loop, and
/// both give the same bits: AVX2 alone has no fused multiply-add. Elsewhere, and under the sanitizers, whose
/// runtime is not ready when the choice is made, it is one plain function.
#if defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(memory_sanitizer) ||                                   \
    __has_feature(undefined_behavior_sanitizer)
#define KAVRIX_NO_CLONES
#endif
#endif
#if defined(__SANITIZE_ADDRESS__) || !defined(__x86_64__) || !defined(__ELF__) || !defined(__has_attribute)
#define KAVRIX_NO_CLONES
#elif !__has_attribute(target_clones)
#define KAVRIX_NO_CLONES
#endif

#ifdef KAVRIX_NO_CLONES
#define KAVRIX_CLONES
#else
#define KAVRIX_CLONES __attribute__((target_clones("avx2", "default"), flatten))
#endif

#endif
