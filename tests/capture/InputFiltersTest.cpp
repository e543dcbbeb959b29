// The two filters between the input and the track files: the RIAA emulation with its table of
// rates, and the 50 Hz rumble high-pass.
#include "capture/RiaaFilter.h"

#include <juce_audio_basics/juce_audio_basics.h>

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <vector>

namespace
{
using Processor = std::function<void (const float* in, float* out, int numSamples)>;

/** The amplitude of the `frequency` component of `signal`, by a least-squares fit. */
double amplitudeAt (const std::vector<float>& signal, size_t from, double rate, double frequency)
{
    double ss = 0, cc = 0, sc = 0, ys = 0, yc = 0;
    for (size_t i = from; i < signal.size(); ++i)
    {
        const double phase = 2.0 * juce::MathConstants<double>::pi * frequency * (double) i / rate;
        const double s = std::sin (phase), c = std::cos (phase), y = signal[i];
        ss += s * s;
        cc += c * c;
        sc += s * c;
        ys += y * s;
        yc += y * c;
    }
    const double determinant = ss * cc - sc * sc;
    const double a = (ys * cc - yc * sc) / determinant;
    const double b = (yc * ss - ys * sc) / determinant;
    return std::sqrt (a * a + b * b);
}

/** The gain of a filter at one frequency, in dB, measured from its output after it settled. */
double measuredGainDb (const Processor& process, double rate, double frequency)
{
    const auto settle = static_cast<size_t> (rate);
    const auto length = settle + static_cast<size_t> (2 * rate);
    std::vector<float> input (length), output (length);
    for (size_t i = 0; i < length; ++i)
        input[i] =
            static_cast<float> (0.1 * std::sin (2.0 * juce::MathConstants<double>::pi * frequency * (double) i / rate));

    // In blocks of 512, as a device would deliver them.
    for (size_t start = 0; start < length; start += 512)
    {
        const auto count = static_cast<int> (std::min<size_t> (512, length - start));
        process (input.data() + start, output.data() + start, count);
    }

    return 20.0 *
           std::log10 (amplitudeAt (output, settle, rate, frequency) / amplitudeAt (input, settle, rate, frequency));
}

RiaaFilter makeRiaa (float rate, int mode = 1)
{
    RiaaFilter filter;
    filter.setSampleRate (rate);
    filter.setMode (mode);
    filter.loadCoefficients();
    filter.reset();
    return filter;
}

double riaaGainDb (float rate, double frequency, int mode = 1)
{
    auto filter = makeRiaa (rate, mode);
    return measuredGainDb ([&] (const float* in, float* out, int n) { filter.process (in, out, n); }, rate, frequency);
}

std::vector<float> noise (int length, int seed)
{
    juce::Random random (seed);
    std::vector<float> values ((size_t) length);
    for (auto& value : values)
        value = random.nextFloat() - 0.5f;
    return values;
}

struct Figure
{
    double frequency, gainDb;
};
} // namespace

TEST (RiaaEmulation, thePlaybackCurveAt44100HzHasItsFigures)
{
    for (const auto figure :
         { Figure{ 20, 19.28 }, Figure{ 50, 16.95 }, Figure{ 100, 13.09 }, Figure{ 500, 2.65 }, Figure{ 1000, 0.00 },
           Figure{ 2122, -2.89 }, Figure{ 10000, -15.10 }, Figure{ 20000, -26.48 } })
        EXPECT_NEAR (riaaGainDb (44100.0f, figure.frequency), figure.gainDb, 0.05) << figure.frequency << " Hz";
}

TEST (RiaaEmulation, thePlaybackCurveAt8000HzHasTheShapeOfItsOwnRow)
{
    EXPECT_NEAR (riaaGainDb (8000.0f, 50), 15.33, 0.05);
    EXPECT_NEAR (riaaGainDb (8000.0f, 1000), 0.00, 0.05);
    EXPECT_NEAR (riaaGainDb (8000.0f, 2122), -7.72, 0.05);
}

TEST (RiaaEmulation, aThousandHertzKeepsItsLevelAtEveryRateOfTheTable)
{
    for (const float rate : { 8000.0f, 11025.0f, 16000.0f, 22050.0f, 32000.0f, 44100.0f, 48000.0f, 64000.0f, 88200.0f,
                              96000.0f, 192000.0f })
        EXPECT_NEAR (riaaGainDb (rate, 1000), 0.0, 0.05) << rate << " Hz";
}

TEST (RiaaEmulation, theGainAtDcIsAboutTen)
{
    auto filter = makeRiaa (44100.0f);
    std::vector<float> block (44100, 0.1f);
    filter.processInPlace (block.data(), (int) block.size());
    EXPECT_NEAR (block.back(), 0.990246f, 1.0e-4f);
}

TEST (RiaaEmulation, aRateIsTruncatedToAWholeNumberBeforeTheLookUp)
{
    auto exact = makeRiaa (44100.0f);
    auto fraction = makeRiaa (44100.9f);
    const auto input = noise (2048, 1);
    std::vector<float> a (input.size()), b (input.size());
    exact.process (input.data(), a.data(), (int) input.size());
    fraction.process (input.data(), b.data(), (int) input.size());
    EXPECT_TRUE (a == b);
    EXPECT_FALSE (a == input);
}

TEST (RiaaEmulation, aRateOutsideTheTablePassesTheSignalThroughUnchanged)
{
    for (const float rate : { 12345.0f, 44099.0f, 0.0f })
    {
        for (const int mode : { 0, 1 })
        {
            auto filter = makeRiaa (rate, mode);
            const auto input = noise (1001, 2);
            std::vector<float> output (input.size());
            filter.process (input.data(), output.data(), (int) input.size());
            EXPECT_TRUE (output == input) << rate << " Hz, mode " << mode;
        }
    }
}

TEST (RiaaEmulation, theInverseCurveUndoesThePlaybackCurve)
{
    EXPECT_NEAR (riaaGainDb (44100.0f, 100, 0), -13.09, 0.05);
    EXPECT_NEAR (riaaGainDb (44100.0f, 10000, 0), 15.10, 0.05);

    for (const float rate : { 8000.0f, 44100.0f, 96000.0f })
    {
        auto playback = makeRiaa (rate, 1);
        auto inverse = makeRiaa (rate, 0);
        const auto input = noise (8192, 3);
        std::vector<float> signal (input);
        playback.processInPlace (signal.data(), (int) signal.size());
        inverse.processInPlace (signal.data(), (int) signal.size());
        for (size_t i = 0; i < input.size(); ++i)
            ASSERT_NEAR (signal[i], input[i], 1.0e-5f) << rate << " Hz, sample " << i;
    }
}

TEST (RiaaEmulation, theResultDoesNotDependOnHowTheSignalIsCutIntoBlocks)
{
    const auto input = noise (1003, 4);

    auto whole = makeRiaa (48000.0f);
    std::vector<float> a (input.size());
    whole.process (input.data(), a.data(), (int) input.size());

    auto pieces = makeRiaa (48000.0f);
    std::vector<float> b (input);
    int position = 0;
    for (const int length : { 1, 2, 3, 4, 5, 7, 64, 917 })
    {
        pieces.processInPlace (b.data() + position, length);
        position += length;
    }
    ASSERT_EQ (position, 1003);
    EXPECT_TRUE (a == b);
}

TEST (RiaaEmulation, resetReturnsTheFilterToSilence)
{
    auto used = makeRiaa (44100.0f);
    auto loud = noise (4096, 5);
    used.processInPlace (loud.data(), (int) loud.size());
    used.reset();

    auto fresh = makeRiaa (44100.0f);
    const auto input = noise (512, 6);
    std::vector<float> a (input.size()), b (input.size());
    used.process (input.data(), a.data(), (int) input.size());
    fresh.process (input.data(), b.data(), (int) input.size());
    EXPECT_TRUE (a == b);
}

TEST (RumbleFilter, isAButterworthHighPassAtFiftyHertz)
{
    const auto coefficients = juce::IIRCoefficients::makeHighPass (44100.0, 50.0);
    EXPECT_NEAR (coefficients.coefficients[0], 0.99497539, 1.0e-7);
    EXPECT_NEAR (coefficients.coefficients[1], -1.98995078, 1.0e-7);
    EXPECT_NEAR (coefficients.coefficients[2], 0.99497539, 1.0e-7);
    EXPECT_NEAR (coefficients.coefficients[3], -1.98992550, 1.0e-7);
    EXPECT_NEAR (coefficients.coefficients[4], 0.98997599, 1.0e-7);

    for (const auto figure : { Figure{ 20, -16.03 }, Figure{ 50, -3.01 }, Figure{ 100, -0.26 } })
    {
        juce::IIRFilter filter;
        filter.setCoefficients (coefficients);
        const auto gain = measuredGainDb (
            [&] (const float* in, float* out, int n)
            {
                std::copy (in, in + n, out);
                filter.processSamples (out, n);
            },
            44100.0, figure.frequency);
        EXPECT_NEAR (gain, figure.gainDb, 0.05) << figure.frequency << " Hz";
    }
}
