#include "platform/posix/VectorRegisters.h"

namespace VectorRegisters {
namespace {

#if defined(__x86_64__)
// All vector registers are caller-saved on x86-64: the compiler keeps nothing there across
// the call, so clobbering them costs nothing. VZEROALL clears the first sixteen whole;
// AVX-512's other sixteen, which glibc's string functions prefer, need clearing one by one.
[[gnu::target("avx512f")]] void clearAvx512() {
    asm volatile("vpxord %%zmm16, %%zmm16, %%zmm16\n\t"
                 "vpxord %%zmm17, %%zmm17, %%zmm17\n\t"
                 "vpxord %%zmm18, %%zmm18, %%zmm18\n\t"
                 "vpxord %%zmm19, %%zmm19, %%zmm19\n\t"
                 "vpxord %%zmm20, %%zmm20, %%zmm20\n\t"
                 "vpxord %%zmm21, %%zmm21, %%zmm21\n\t"
                 "vpxord %%zmm22, %%zmm22, %%zmm22\n\t"
                 "vpxord %%zmm23, %%zmm23, %%zmm23\n\t"
                 "vpxord %%zmm24, %%zmm24, %%zmm24\n\t"
                 "vpxord %%zmm25, %%zmm25, %%zmm25\n\t"
                 "vpxord %%zmm26, %%zmm26, %%zmm26\n\t"
                 "vpxord %%zmm27, %%zmm27, %%zmm27\n\t"
                 "vpxord %%zmm28, %%zmm28, %%zmm28\n\t"
                 "vpxord %%zmm29, %%zmm29, %%zmm29\n\t"
                 "vpxord %%zmm30, %%zmm30, %%zmm30\n\t"
                 "vpxord %%zmm31, %%zmm31, %%zmm31\n\t"
                 "vzeroall"
                 :
                 :
                 : "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9",
                   "xmm10", "xmm11", "xmm12", "xmm13", "xmm14", "xmm15", "xmm16", "xmm17", "xmm18",
                   "xmm19", "xmm20", "xmm21", "xmm22", "xmm23", "xmm24", "xmm25", "xmm26", "xmm27",
                   "xmm28", "xmm29", "xmm30", "xmm31");
}

[[gnu::target("avx")]] void clearAvx() {
    asm volatile("vzeroall"
                 :
                 :
                 : "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9",
                   "xmm10", "xmm11", "xmm12", "xmm13", "xmm14", "xmm15");
}

void clearSse() {
    asm volatile("xorps %%xmm0, %%xmm0\n\t"
                 "xorps %%xmm1, %%xmm1\n\t"
                 "xorps %%xmm2, %%xmm2\n\t"
                 "xorps %%xmm3, %%xmm3\n\t"
                 "xorps %%xmm4, %%xmm4\n\t"
                 "xorps %%xmm5, %%xmm5\n\t"
                 "xorps %%xmm6, %%xmm6\n\t"
                 "xorps %%xmm7, %%xmm7\n\t"
                 "xorps %%xmm8, %%xmm8\n\t"
                 "xorps %%xmm9, %%xmm9\n\t"
                 "xorps %%xmm10, %%xmm10\n\t"
                 "xorps %%xmm11, %%xmm11\n\t"
                 "xorps %%xmm12, %%xmm12\n\t"
                 "xorps %%xmm13, %%xmm13\n\t"
                 "xorps %%xmm14, %%xmm14\n\t"
                 "xorps %%xmm15, %%xmm15"
                 :
                 :
                 : "xmm0", "xmm1", "xmm2", "xmm3", "xmm4", "xmm5", "xmm6", "xmm7", "xmm8", "xmm9",
                   "xmm10", "xmm11", "xmm12", "xmm13", "xmm14", "xmm15");
}
#endif

} // namespace

void clear() {
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx512f"))
        clearAvx512();
    else if (__builtin_cpu_supports("avx"))
        clearAvx();
    else
        clearSse();
#elif defined(__aarch64__)
    // Writing a NEON register clears the rest of its SVE register too.
    asm volatile("movi v0.16b, #0\n\t"
                 "movi v1.16b, #0\n\t"
                 "movi v2.16b, #0\n\t"
                 "movi v3.16b, #0\n\t"
                 "movi v4.16b, #0\n\t"
                 "movi v5.16b, #0\n\t"
                 "movi v6.16b, #0\n\t"
                 "movi v7.16b, #0\n\t"
                 "movi v8.16b, #0\n\t"
                 "movi v9.16b, #0\n\t"
                 "movi v10.16b, #0\n\t"
                 "movi v11.16b, #0\n\t"
                 "movi v12.16b, #0\n\t"
                 "movi v13.16b, #0\n\t"
                 "movi v14.16b, #0\n\t"
                 "movi v15.16b, #0\n\t"
                 "movi v16.16b, #0\n\t"
                 "movi v17.16b, #0\n\t"
                 "movi v18.16b, #0\n\t"
                 "movi v19.16b, #0\n\t"
                 "movi v20.16b, #0\n\t"
                 "movi v21.16b, #0\n\t"
                 "movi v22.16b, #0\n\t"
                 "movi v23.16b, #0\n\t"
                 "movi v24.16b, #0\n\t"
                 "movi v25.16b, #0\n\t"
                 "movi v26.16b, #0\n\t"
                 "movi v27.16b, #0\n\t"
                 "movi v28.16b, #0\n\t"
                 "movi v29.16b, #0\n\t"
                 "movi v30.16b, #0\n\t"
                 "movi v31.16b, #0"
                 :
                 :
                 : "v0", "v1", "v2", "v3", "v4", "v5", "v6", "v7", "v8", "v9", "v10", "v11", "v12",
                   "v13", "v14", "v15", "v16", "v17", "v18", "v19", "v20", "v21", "v22", "v23",
                   "v24", "v25", "v26", "v27", "v28", "v29", "v30", "v31");
#endif
}

} // namespace VectorRegisters
