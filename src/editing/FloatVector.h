#pragma once

// Four single-precision lanes for the filters' inner loops. Every operation rounds each lane
// exactly as the plain scalar operation would, so vector and scalar code give the same bits.
// SSE2 where the compiler targets x86-64, plain arrays everywhere else (or when
// GROOVESMITH_NO_SIMD is defined).

#include <cmath>

#if ! defined(GROOVESMITH_NO_SIMD) && (defined(__SSE2__) || defined(_M_X64) || (defined(_M_IX86_FP) && _M_IX86_FP >= 2))
#define GROOVESMITH_FLOAT_VECTOR_SSE2 1
#include <emmintrin.h>
#else
#define GROOVESMITH_FLOAT_VECTOR_SSE2 0
#endif

/** The four lanes as a plain array: the portable form, and the yardstick of the others. */
struct ScalarFloatVector
{
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
};

#if GROOVESMITH_FLOAT_VECTOR_SSE2
/** The four lanes in an SSE2 register. */
struct FloatVector
{
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
};
#else
using FloatVector = ScalarFloatVector;
#endif
