#pragma once

// Single-precision lanes for the filters' inner loops. Every operation rounds each lane exactly
// as the plain scalar operation would, so vector and scalar code give the same bits.
// Four lanes: SSE2 where the compiler targets x86-64, plain arrays everywhere else (or when
// GROOVESMITH_NO_SIMD is defined). Eight lanes: AVX2, compiled for that instruction set function
// by function with GCC on x86, and used only where the processor reports it. Clang does not
// honour GCC's target pragmas, so a Clang build (the fuzz targets) keeps to four lanes.

#include <cmath>

#if ! defined(GROOVESMITH_NO_SIMD) && (defined(__SSE2__) || defined(_M_X64) || (defined(_M_IX86_FP) && _M_IX86_FP >= 2))
#define GROOVESMITH_FLOAT_VECTOR_SSE2 1
#include <emmintrin.h>
#else
#define GROOVESMITH_FLOAT_VECTOR_SSE2 0
#endif

#if GROOVESMITH_FLOAT_VECTOR_SSE2 && defined(__GNUC__) && ! defined(__clang__) &&                                      \
    (defined(__x86_64__) || defined(__i386__))
#define GROOVESMITH_FLOAT_VECTOR_AVX2 1
#include <immintrin.h>
#else
#define GROOVESMITH_FLOAT_VECTOR_AVX2 0
#endif

/** The four lanes as a plain array: the portable form, and the yardstick of the others. */
struct ScalarFloatVector
{
    static constexpr int lanes = 4;
    float v[4];

    static ScalarFloatVector load (const float* p) { return { { p[0], p[1], p[2], p[3] } }; }
    void store (float* p) const
    {
        for (int i = 0; i < 4; ++i)
            p[i] = v[i];
    }
    static ScalarFloatVector fill (float x) { return { { x, x, x, x } }; }
    static ScalarFloatVector zero() { return fill (0.0f); }
    static ScalarFloatVector of (float a, float b, float c, float d) { return { { a, b, c, d } }; }

    template <typename Op>
    static ScalarFloatVector each (ScalarFloatVector a, ScalarFloatVector b, Op op)
    {
        return { { op (a.v[0], b.v[0]), op (a.v[1], b.v[1]), op (a.v[2], b.v[2]), op (a.v[3], b.v[3]) } };
    }

    friend ScalarFloatVector operator+ (ScalarFloatVector a, ScalarFloatVector b)
    {
        return each (a, b, [] (float x, float y) { return x + y; });
    }
    friend ScalarFloatVector operator- (ScalarFloatVector a, ScalarFloatVector b)
    {
        return each (a, b, [] (float x, float y) { return x - y; });
    }
    friend ScalarFloatVector operator* (ScalarFloatVector a, ScalarFloatVector b)
    {
        return each (a, b, [] (float x, float y) { return x * y; });
    }
    friend ScalarFloatVector operator/ (ScalarFloatVector a, ScalarFloatVector b)
    {
        return each (a, b, [] (float x, float y) { return x / y; });
    }

    static ScalarFloatVector sqrt (ScalarFloatVector a)
    {
        return { { std::sqrt (a.v[0]), std::sqrt (a.v[1]), std::sqrt (a.v[2]), std::sqrt (a.v[3]) } };
    }

    /** The top 16 bits of four 32-bit samples, as whole numbers. */
    static ScalarFloatVector fromTop16Bits (const int* p)
    {
        return { { (float) (p[0] >> 16), (float) (p[1] >> 16), (float) (p[2] >> 16), (float) (p[3] >> 16) } };
    }

    /** a0 b0 a1 b1 into `low`, a2 b2 a3 b3 into `high`. */
    static void interleave (ScalarFloatVector a, ScalarFloatVector b, ScalarFloatVector& low, ScalarFloatVector& high)
    {
        low = { { a.v[0], b.v[0], a.v[1], b.v[1] } };
        high = { { a.v[2], b.v[2], a.v[3], b.v[3] } };
    }

    static ScalarFloatVector abs (ScalarFloatVector a)
    {
        return { { std::abs (a.v[0]), std::abs (a.v[1]), std::abs (a.v[2]), std::abs (a.v[3]) } };
    }

    static ScalarFloatVector max (ScalarFloatVector a, ScalarFloatVector b)
    {
        return each (a, b, [] (float x, float y) { return x > y ? x : y; });
    }

    ScalarFloatVector reversed() const { return { { v[3], v[2], v[1], v[0] } }; }

    ScalarFloatVector withFirstOf (ScalarFloatVector other) const { return { { other.v[0], v[1], v[2], v[3] } }; }

    ScalarFloatVector tailReversed() const { return { { v[0], v[3], v[2], v[1] } }; }

    static ScalarFloatVector zeroWhereGreater (ScalarFloatVector keep, ScalarFloatVector a, ScalarFloatVector b)
    {
        ScalarFloatVector result = keep;

        for (int i = 0; i < 4; ++i)
            if (a.v[i] > b.v[i])
                result.v[i] = 0.0f;

        return result;
    }

    static void transpose (ScalarFloatVector& a, ScalarFloatVector& b, ScalarFloatVector& c, ScalarFloatVector& d)
    {
        const ScalarFloatVector rows[] = { a, b, c, d };
        ScalarFloatVector* out[] = { &a, &b, &c, &d };

        for (int r = 0; r < 4; ++r)
            for (int col = 0; col < 4; ++col)
                out[col]->v[r] = rows[r].v[col];
    }

    static void storeGroupsOfEight (const ScalarFloatVector (&rows)[8], float* base, const int* offsets)
    {
        for (int lane = 0; lane < 4; ++lane)
            for (int j = 0; j < 8; ++j)
                base[offsets[lane] + j] = rows[j].v[lane];
    }

    static void loadGroupsOfEight (ScalarFloatVector (&rows)[8], const float* base, const int* offsets)
    {
        for (int lane = 0; lane < 4; ++lane)
            for (int j = 0; j < 8; ++j)
                rows[j].v[lane] = base[offsets[lane] + j];
    }
};

#if GROOVESMITH_FLOAT_VECTOR_SSE2
/** The four lanes in an SSE2 register. */
struct FloatVector
{
    static constexpr int lanes = 4;
    __m128 v;

    static FloatVector load (const float* p) { return { _mm_loadu_ps (p) }; }
    void store (float* p) const { _mm_storeu_ps (p, v); }
    static FloatVector fill (float x) { return { _mm_set1_ps (x) }; }
    static FloatVector zero() { return { _mm_setzero_ps() }; }
    static FloatVector of (float a, float b, float c, float d) { return { _mm_setr_ps (a, b, c, d) }; }

    friend FloatVector operator+ (FloatVector a, FloatVector b) { return { _mm_add_ps (a.v, b.v) }; }
    friend FloatVector operator- (FloatVector a, FloatVector b) { return { _mm_sub_ps (a.v, b.v) }; }
    friend FloatVector operator* (FloatVector a, FloatVector b) { return { _mm_mul_ps (a.v, b.v) }; }
    friend FloatVector operator/ (FloatVector a, FloatVector b) { return { _mm_div_ps (a.v, b.v) }; }

    static FloatVector sqrt (FloatVector a) { return { _mm_sqrt_ps (a.v) }; }

    /** The top 16 bits of four 32-bit samples, as whole numbers. */
    static FloatVector fromTop16Bits (const int* p)
    {
        return { _mm_cvtepi32_ps (_mm_srai_epi32 (_mm_loadu_si128 (reinterpret_cast<const __m128i*> (p)), 16)) };
    }

    /** a0 b0 a1 b1 into `low`, a2 b2 a3 b3 into `high`. */
    static void interleave (FloatVector a, FloatVector b, FloatVector& low, FloatVector& high)
    {
        low.v = _mm_unpacklo_ps (a.v, b.v);
        high.v = _mm_unpackhi_ps (a.v, b.v);
    }

    /** Each lane without its sign bit. */
    static FloatVector abs (FloatVector a) { return { _mm_andnot_ps (_mm_set1_ps (-0.0f), a.v) }; }

    /** Each lane of `a` where `a` > `b`, else of `b` (also where either is NaN). */
    static FloatVector max (FloatVector a, FloatVector b) { return { _mm_max_ps (a.v, b.v) }; }

    /** Lanes in the opposite order. */
    FloatVector reversed() const { return { _mm_shuffle_ps (v, v, _MM_SHUFFLE (0, 1, 2, 3)) }; }

    /** Lane 0 taken from `other`, the rest from this. */
    FloatVector withFirstOf (FloatVector other) const { return { _mm_move_ss (v, other.v) }; }

    /** Lane 0 kept, lanes 1 to 3 in the opposite order. */
    FloatVector tailReversed() const { return { _mm_shuffle_ps (v, v, _MM_SHUFFLE (1, 2, 3, 0)) }; }

    /** Each lane of `a` where `a` > `b` is false (also for NaN), zero where it is true. */
    static FloatVector zeroWhereGreater (FloatVector keep, FloatVector a, FloatVector b)
    {
        return { _mm_andnot_ps (_mm_cmpgt_ps (a.v, b.v), keep.v) };
    }

    /** Rows become columns. */
    static void transpose (FloatVector& a, FloatVector& b, FloatVector& c, FloatVector& d)
    {
        _MM_TRANSPOSE4_PS (a.v, b.v, c.v, d.v);
    }

    /** Lane m of the eight rows, in row order, goes to the eight floats at base + offsets[m]. */
    static void storeGroupsOfEight (const FloatVector (&rows)[8], float* base, const int* offsets)
    {
        FloatVector low[] = { rows[0], rows[1], rows[2], rows[3] };
        FloatVector high[] = { rows[4], rows[5], rows[6], rows[7] };
        transpose (low[0], low[1], low[2], low[3]);
        transpose (high[0], high[1], high[2], high[3]);

        for (int m = 0; m < 4; ++m)
        {
            low[m].store (base + offsets[m]);
            high[m].store (base + offsets[m] + 4);
        }
    }

    /** The opposite of storeGroupsOfEight: row j's lane m is base[offsets[m] + j]. */
    static void loadGroupsOfEight (FloatVector (&rows)[8], const float* base, const int* offsets)
    {
        for (int m = 0; m < 4; ++m)
        {
            rows[m] = load (base + offsets[m]);
            rows[4 + m] = load (base + offsets[m] + 4);
        }

        transpose (rows[0], rows[1], rows[2], rows[3]);
        transpose (rows[4], rows[5], rows[6], rows[7]);
    }
};
#else
using FloatVector = ScalarFloatVector;
#endif

#if GROOVESMITH_FLOAT_VECTOR_AVX2
// Everything from here to the matching pop is compiled for AVX2. These functions must only run
// once the processor has been seen to have it (LaneForm.h), and only from code compiled the same way.
#pragma GCC push_options
#pragma GCC target("avx2")

/** Eight lanes in an AVX register: the same operations as FloatVector, twice as wide. */
struct WideFloatVector
{
    static constexpr int lanes = 8;
    __m256 v;

    static WideFloatVector load (const float* p) { return { _mm256_loadu_ps (p) }; }
    void store (float* p) const { _mm256_storeu_ps (p, v); }
    static WideFloatVector fill (float x) { return { _mm256_set1_ps (x) }; }
    static WideFloatVector zero() { return { _mm256_setzero_ps() }; }

    // Members rather than friends: GCC compiles friends defined in the class for the default target.
    WideFloatVector operator+ (WideFloatVector b) const { return { _mm256_add_ps (v, b.v) }; }
    WideFloatVector operator- (WideFloatVector b) const { return { _mm256_sub_ps (v, b.v) }; }
    WideFloatVector operator* (WideFloatVector b) const { return { _mm256_mul_ps (v, b.v) }; }
    WideFloatVector operator/ (WideFloatVector b) const { return { _mm256_div_ps (v, b.v) }; }

    static WideFloatVector sqrt (WideFloatVector a) { return { _mm256_sqrt_ps (a.v) }; }

    /** Lanes in the opposite order. */
    WideFloatVector reversed() const
    {
        return { _mm256_permutevar8x32_ps (v, _mm256_setr_epi32 (7, 6, 5, 4, 3, 2, 1, 0)) };
    }

    /** Lane 0 kept, lanes 1 to 7 in the opposite order. */
    WideFloatVector tailReversed() const
    {
        return { _mm256_permutevar8x32_ps (v, _mm256_setr_epi32 (0, 7, 6, 5, 4, 3, 2, 1)) };
    }

    /** Each lane of `keep` where `a` > `b` is false (also for NaN), zero where it is true. */
    static WideFloatVector zeroWhereGreater (WideFloatVector keep, WideFloatVector a, WideFloatVector b)
    {
        return { _mm256_andnot_ps (_mm256_cmp_ps (a.v, b.v, _CMP_GT_OQ), keep.v) };
    }

    /** Rows become columns, for eight rows of eight. */
    static void transpose (__m256 (&r)[8])
    {
        const __m256 t0 = _mm256_unpacklo_ps (r[0], r[1]), t1 = _mm256_unpackhi_ps (r[0], r[1]);
        const __m256 t2 = _mm256_unpacklo_ps (r[2], r[3]), t3 = _mm256_unpackhi_ps (r[2], r[3]);
        const __m256 t4 = _mm256_unpacklo_ps (r[4], r[5]), t5 = _mm256_unpackhi_ps (r[4], r[5]);
        const __m256 t6 = _mm256_unpacklo_ps (r[6], r[7]), t7 = _mm256_unpackhi_ps (r[6], r[7]);

        const __m256 u0 = _mm256_shuffle_ps (t0, t2, _MM_SHUFFLE (1, 0, 1, 0));
        const __m256 u1 = _mm256_shuffle_ps (t0, t2, _MM_SHUFFLE (3, 2, 3, 2));
        const __m256 u2 = _mm256_shuffle_ps (t1, t3, _MM_SHUFFLE (1, 0, 1, 0));
        const __m256 u3 = _mm256_shuffle_ps (t1, t3, _MM_SHUFFLE (3, 2, 3, 2));
        const __m256 u4 = _mm256_shuffle_ps (t4, t6, _MM_SHUFFLE (1, 0, 1, 0));
        const __m256 u5 = _mm256_shuffle_ps (t4, t6, _MM_SHUFFLE (3, 2, 3, 2));
        const __m256 u6 = _mm256_shuffle_ps (t5, t7, _MM_SHUFFLE (1, 0, 1, 0));
        const __m256 u7 = _mm256_shuffle_ps (t5, t7, _MM_SHUFFLE (3, 2, 3, 2));

        r[0] = _mm256_permute2f128_ps (u0, u4, 0x20);
        r[1] = _mm256_permute2f128_ps (u1, u5, 0x20);
        r[2] = _mm256_permute2f128_ps (u2, u6, 0x20);
        r[3] = _mm256_permute2f128_ps (u3, u7, 0x20);
        r[4] = _mm256_permute2f128_ps (u0, u4, 0x31);
        r[5] = _mm256_permute2f128_ps (u1, u5, 0x31);
        r[6] = _mm256_permute2f128_ps (u2, u6, 0x31);
        r[7] = _mm256_permute2f128_ps (u3, u7, 0x31);
    }

    /** Lane m of the eight rows, in row order, goes to the eight floats at base + offsets[m]. */
    static void storeGroupsOfEight (const WideFloatVector (&rows)[8], float* base, const int* offsets)
    {
        __m256 r[8];

        for (int j = 0; j < 8; ++j)
            r[j] = rows[j].v;

        transpose (r);

        for (int m = 0; m < 8; ++m)
            _mm256_storeu_ps (base + offsets[m], r[m]);
    }

    /** The opposite of storeGroupsOfEight: row j's lane m is base[offsets[m] + j]. */
    static void loadGroupsOfEight (WideFloatVector (&rows)[8], const float* base, const int* offsets)
    {
        __m256 r[8];

        for (int m = 0; m < 8; ++m)
            r[m] = _mm256_loadu_ps (base + offsets[m]);

        transpose (r);

        for (int j = 0; j < 8; ++j)
            rows[j].v = r[j];
    }
};

#pragma GCC pop_options
#endif
