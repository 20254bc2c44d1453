// Run-time choice of vector instructions on x86.
#ifndef KAVRIX_INNER_KXCLONES_H
#define KAVRIX_INNER_KXCLONES_H

/// Before a function: GCC on x86-64 makes it twice, for AVX2 and for the baseline, everything it calls
/// inlined, and the program takes the one that its processor has. The source stays a plain loop, and both
/// give the same bits: AVX2 alone has no fused multiply-add. Elsewhere it is one plain function; so it is
/// under the address sanitizer, whose runtime is not ready when the choice is made, and where
/// KAVRIX_NO_CLONES is defined.
#if defined(__x86_64__) && defined(__ELF__) && defined(__GNUC__) && !defined(__clang__) &&                   \
    !defined(__SANITIZE_ADDRESS__) && !defined(KAVRIX_NO_CLONES)
#define KAVRIX_CLONES __attribute__((target_clones("avx2", "default"), flatten))
#else
#define KAVRIX_CLONES
#endif

#endif
