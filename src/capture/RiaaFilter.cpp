#include "capture/RiaaFilter.h"

namespace
{
struct Coefficients
{
    int rate;
    double b0, b1, b2, a1, a2;
};

// The playback curve. Every rate shares one pole pair; all rows are normalised to 0 dB at 1 kHz.
constexpr double playbackA1 = -1.730255071225;
constexpr double playbackA2 = 0.7321212305227;

constexpr Coefficients playbackCurve[] = {
    { 8000, 0.5009323156843, -0.1849584046286, -0.2621026251396, playbackA1, playbackA2 },
    { 11025, 0.3743748953856, -0.1382298191103, -0.195884034219, playbackA1, playbackA2 },
    { 16000, 0.2818945719821, -0.1040834633239, -0.1474955897549, playbackA1, playbackA2 },
    { 22050, 0.2320396398134, -0.08567560975151, -0.1214100125452, playbackA1, playbackA2 },
    { 32000, 0.1947949715718, -0.07192382292684, -0.1019224989373, playbackA1, playbackA2 },
    { 44100, 0.1718357476269, -0.0634466269077, -0.08990955291894, playbackA1, playbackA2 },
    { 48000, 0.1663632703638, -0.06142603324216, -0.08704619072061, playbackA1, playbackA2 },
    { 64000, 0.1480445463426, -0.05466224128122, -0.0774612917136, playbackA1, playbackA2 },
    { 88200, 0.1266541130703, -0.04676428722936, -0.06626918344267, playbackA1, playbackA2 },
    { 96000, 0.1207880121105, -0.04459835654186, -0.06319986566711, playbackA1, playbackA2 },
    { 192000, 0.07451436300135, -0.027512814149, -0.03898812183155, playbackA1, playbackA2 },
};

// The inverse curve: the reciprocal of the playback transfer function at each rate, so its
// poles are the playback zeros and the same at every rate.
constexpr double inverseA1 = -0.3692283345225;
constexpr double inverseA2 = -0.5232296199169;

constexpr Coefficients inverseCurve[] = {
    { 8000, 1.996277678021126, -3.454069575969321, 1.461517270097825, inverseA1, inverseA2 },
    { 11025, 2.671119277295601, -4.62171767538757, 1.95558313216656, inverseA1, inverseA2 },
    { 16000, 3.547425524970729, -6.137951004373612, 2.597145540529205, inverseA1, inverseA2 },
    { 22050, 4.30960848243073, -7.456721931720047, 3.155155865228251, inverseA1, inverseA2 },
    { 32000, 5.133602741030752, -8.882442176323019, 3.75841955577814, inverseA1, inverseA2 },
    { 44100, 5.819510863195123, -10.06923818309234, 4.260587454202633, inverseA1, inverseA2 },
    { 48000, 6.01094218581553, -10.40046319984761, 4.400738389680074, inverseA1, inverseA2 },
    { 64000, 6.7547236605787, -11.68739486843979, 4.945276598223674, inverseA1, inverseA2 },
    { 88200, 7.895519346023488, -13.66126238841224, 5.7804773392265, inverseA1, inverseA2 },
    { 96000, 8.278967279345355, -14.32472511959314, 6.061207712011491, inverseA1, inverseA2 },
    { 192000, 13.42023147915634, -23.22042357382364, 9.825236384419416, inverseA1, inverseA2 },
};
} // namespace

void RiaaFilter::loadCoefficients()
{
    const int rate = static_cast<int> (sampleRate);
    const auto& table = mode != 0 ? playbackCurve : inverseCurve;

    // A rate outside the table passes the signal through unchanged.
    b0 = 1.0;
    b1 = b2 = a1 = a2 = 0.0;

    for (const auto& row : table)
    {
        if (row.rate == rate)
        {
            b0 = row.b0;
            b1 = row.b1;
            b2 = row.b2;
            a1 = row.a1;
            a2 = row.a2;
            return;
        }
    }
}

void RiaaFilter::reset()
{
    w1 = w2 = 0.0;
    spareCells[0] = spareCells[1] = 0.0;
}

void RiaaFilter::process (const float* in, float* out, int numSamples)
{
    double s1 = w1, s2 = w2;

    // One step of the direct form II biquad; each input is read before its output is written,
    // so `in` and `out` may be the same buffer.
    const auto step = [&] (int i)
    {
        const double w = static_cast<double> (in[i]) - a1 * s1 - a2 * s2;
        out[i] = static_cast<float> (b0 * w + b1 * s1 + b2 * s2);
        s2 = s1;
        s1 = w;
    };

    int i = 0;
    for (; i + 4 <= numSamples; i += 4)
    {
        step (i);
        step (i + 1);
        step (i + 2);
        step (i + 3);
    }

    for (; i < numSamples; ++i)
        step (i);

    w1 = s1;
    w2 = s2;
}
