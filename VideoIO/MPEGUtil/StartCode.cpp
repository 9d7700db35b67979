#include "VideoIO/MPEGUtil/StartCode.h"

#include <bit>
#include <cstddef>

#if defined(__x86_64__) && defined(__GNUC__)
#define QZ_START_CODE_X86 1
#include <immintrin.h>
#endif

namespace qz_MPEGUtil {

const std::uint8_t* FindStartCodePlain(const std::uint8_t* begin, const std::uint8_t* end) {
    // Looks at the byte where the 1 would stand: a larger one rules out three places at once.
    for (const std::uint8_t* p = begin; end - p >= 3;) {
        if (p[2] > 1) {
            p += 3;
        } else if (p[2] == 1) {
            if (p[0] == 0 && p[1] == 0) {
                return p;
            }
            p += 3;
        } else {
            ++p;
        }
    }
    return end;
}

#ifdef QZ_START_CODE_X86

namespace {

// Two zero bytes in a row are rare in coded video, since emulation prevention and entropy coding leave few. So the
// loops below look for those alone, a block at a time: the bytes at p or'ed with the bytes at p + 1 are zero where a
// pair begins. A block of n bytes needs n + 2 readable ones, so that a pair at its last place has its third byte.

const std::uint8_t* FindInBlock(const std::uint8_t* p, std::uint64_t pairs) {
    for (; pairs != 0; pairs &= pairs - 1) {
        const std::uint8_t* candidate = p + std::countr_zero(pairs);
        if (candidate[2] == 1) {
            return candidate;
        }
    }
    return nullptr;
}

inline __m128i PairsSse2(const std::uint8_t* p) {
    const __m128i here = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
    const __m128i next = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + 1));
    return _mm_or_si128(here, next);
}

inline std::uint64_t ZerosSse2(__m128i bytes) {
    return static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_setzero_si128())));
}

const std::uint8_t* FindSse2(const std::uint8_t* p, const std::uint8_t* end) {
    constexpr std::ptrdiff_t block = 64;
    for (; end - p >= block + 2; p += block) {
        const __m128i a = PairsSse2(p);
        const __m128i b = PairsSse2(p + 16);
        const __m128i c = PairsSse2(p + 32);
        const __m128i d = PairsSse2(p + 48);
        if (ZerosSse2(_mm_min_epu8(_mm_min_epu8(a, b), _mm_min_epu8(c, d))) == 0) {
            continue;
        }
        const std::uint64_t pairs = ZerosSse2(a) | ZerosSse2(b) << 16 | ZerosSse2(c) << 32 | ZerosSse2(d) << 48;
        if (const std::uint8_t* found = FindInBlock(p, pairs)) {
            return found;
        }
    }
    for (; end - p >= 16 + 2; p += 16) {
        if (const std::uint8_t* found = FindInBlock(p, ZerosSse2(PairsSse2(p)))) {
            return found;
        }
    }
    return FindStartCodePlain(p, end);
}

#define QZ_AVX2 __attribute__((target("avx2")))

QZ_AVX2 inline __m256i PairsAvx2(const std::uint8_t* p) {
    const __m256i here = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
    const __m256i next = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + 1));
    return _mm256_or_si256(here, next);
}

QZ_AVX2 inline std::uint64_t ZerosAvx2(__m256i bytes) {
    return static_cast<std::uint32_t>(_mm256_movemask_epi8(_mm256_cmpeq_epi8(bytes, _mm256_setzero_si256())));
}

QZ_AVX2 const std::uint8_t* FindAvx2(const std::uint8_t* p, const std::uint8_t* end) {
    constexpr std::ptrdiff_t block = 128;
    for (; end - p >= block + 2; p += block) {
        const __m256i a = PairsAvx2(p);
        const __m256i b = PairsAvx2(p + 32);
        const __m256i c = PairsAvx2(p + 64);
        const __m256i d = PairsAvx2(p + 96);
        if (ZerosAvx2(_mm256_min_epu8(_mm256_min_epu8(a, b), _mm256_min_epu8(c, d))) == 0) {
            continue;
        }
        if (const std::uint8_t* found = FindInBlock(p, ZerosAvx2(a) | ZerosAvx2(b) << 32)) {
            return found;
        }
        if (const std::uint8_t* found = FindInBlock(p + 64, ZerosAvx2(c) | ZerosAvx2(d) << 32)) {
            return found;
        }
    }
    return FindSse2(p, end);
}

#undef QZ_AVX2

// False until this file's statics are made: a search from another file's statics then does without.
const bool has_avx2 = __builtin_cpu_supports("avx2") != 0;

}  // namespace

const std::uint8_t* FindStartCode(const std::uint8_t* begin, const std::uint8_t* end) {
    return has_avx2 ? FindAvx2(begin, end) : FindSse2(begin, end);
}

#else

const std::uint8_t* FindStartCode(const std::uint8_t* begin, const std::uint8_t* end) {
    return FindStartCodePlain(begin, end);
}

#endif

}  // namespace qz_MPEGUtil
