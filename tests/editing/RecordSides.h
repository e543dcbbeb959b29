#pragma once

// Sides of records as hard as real ones, made up in the tests: songs of chords, bass, a melody
// with vibrato and drums, with quiet intros, fades, soft passages and songs at different
// loudness, on a groove with coloured hiss, rumble and clicks, between a needle drop and a lift.
// No recorded music: everything is generated from a seed, the same every time.
#include <juce_core/juce_core.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <vector>

namespace recordsides
{
struct Song
{
    double seconds = 14.0;
    double levelDb = -18.0;   // RMS of its body, dBFS
    bool quietIntro = false;  // three seconds of pad and melody 15 dB down, before the band comes in
    bool fadeIn = false;      // rises from 40 dB down over 1.5 s
    bool softPassage = false; // four seconds 12 dB down, without drums, in the middle
    bool fadeOut = true;      // dies away over four seconds to 50 dB down; else a last chord rings out
};

struct SideSpec
{
    juce::String name;
    double rate = 44100.0;
    double noiseDb = -50.0; // RMS of the surface noise, hiss and rumble together
    std::vector<Song> songs;
    std::vector<double> gaps; // seconds of groove between the songs
    double clicksPerSecond = 3.0;
    juce::uint32 seed = 1;
};

/** Frames of the side, from `start` up to `end`. */
struct Span
{
    juce::int64 start = 0, end = 0;
};

struct Side
{
    double rate = 44100.0;
    std::vector<float> left, right;
    std::vector<Span> songs;   // where each song's own sound lies
    std::vector<Span> audible; // the same, without what lies 20 dB or more under the surface noise
    Span leadIn;               // groove before the first song, after the needle drop

    juce::int64 frames() const { return (juce::int64) left.size(); }
};

//==============================================================================
/** A small, fast generator of random numbers, the same on every machine. */
class Random
{
public:
    explicit Random (juce::uint32 seed)
        : state (seed * 2654435761u + 0x9e3779b9u)
    {
        next();
    }

    juce::uint32 next()
    {
        state ^= state << 13;
        state ^= state >> 17;
        state ^= state << 5;
        return state;
    }

    /** From 0 up to 1. */
    double uniform() { return (next() >> 8) * (1.0 / 16777216.0); }

    /** From -1 up to 1. */
    float bipolar() { return (float) (2.0 * uniform() - 1.0); }

    double between (double low, double high) { return low + (high - low) * uniform(); }
    int below (int n) { return (int) (uniform() * n); }

private:
    juce::uint32 state;
};

/** A sine by table, for the many oscillators a song needs. */
inline const std::array<float, 4097>& sineTable()
{
    static const auto table = []
    {
        std::array<float, 4097> values{};
        for (size_t i = 0; i < values.size(); ++i)
            values[i] = (float) std::sin (juce::MathConstants<double>::twoPi * (double) i / 4096.0);
        return values;
    }();
    return table;
}

/** An oscillator: its phase goes round from 0 to 1. */
struct Oscillator
{
    double phase = 0.0;

    float next (double increment)
    {
        const auto& table = sineTable();
        const double position = phase * 4096.0;
        const int index = (int) position;
        const float fraction = (float) (position - index);
        phase += increment;
        if (phase >= 1.0)
            phase -= std::floor (phase);
        return table[(size_t) index] + fraction * (table[(size_t) index + 1] - table[(size_t) index]);
    }
};

inline double midiHz (int note)
{
    static const auto table = []
    {
        std::array<double, 128> hz{};
        for (size_t n = 0; n < hz.size(); ++n)
            hz[n] = 440.0 * std::pow (2.0, ((double) n - 69.0) / 12.0);
        return hz;
    }();
    return table[(size_t) juce::jlimit (0, 127, note)];
}

inline double dbToGain (double db)
{
    return std::pow (10.0, db / 20.0);
}

//==============================================================================
/**
    The groove under the music: coloured hiss, rumble mostly out of phase (the vertical motion of
    the stylus), and clicks of every size, from a tick to a pop. It goes on from one call to the
    next, so that a side is one groove.
*/
class SurfaceNoise
{
public:
    SurfaceNoise (double rateToUse, double noiseDb, double clicksPerSecondToUse, juce::uint32 seed,
                  bool withPops = true)
        : rate (rateToUse),
          random (seed),
          clickChance (clicksPerSecondToUse / rateToUse),
          pops (withPops)
    {
        // The filters' own gain is measured once, so that hiss and rumble have half the power each.
        const double target = dbToGain (noiseDb) / std::sqrt (2.0);
        SurfaceNoise probe (*this, 0);
        double hissPower = 0.0, rumblePower = 0.0;
        const int n = (int) (2.0 * rate);
        for (int i = 0; i < n; ++i)
        {
            const auto [hissL, hissR, rumble] = probe.raw();
            hissPower += 0.5 * (hissL * hissL + hissR * hissR);
            rumblePower += rumble * rumble * 0.5 * (1.0 + 0.49);
        }
        hissGain = (float) (target / std::sqrt (hissPower / n + 1.0e-30));
        rumbleGain = (float) (target / std::sqrt (rumblePower / n + 1.0e-30));
    }

    /** Adds the groove to the frames, clicks and all. */
    void addTo (float* left, float* right, int numFrames, bool withClicks = true)
    {
        for (int i = 0; i < numFrames; ++i)
        {
            const auto [hissL, hissR, rumble] = raw();
            left[i] += hissGain * hissL + rumbleGain * rumble;
            right[i] += hissGain * hissR - 0.7f * rumbleGain * rumble;

            if (withClicks && random.uniform() < clickChance)
                startClick();

            const auto [clickL, clickR] = clickSample();
            left[i] += clickL;
            right[i] += clickR;
        }
    }

    /** A click of this peak and length, at once. */
    void click (double peak, double milliseconds)
    {
        clicks.push_back ({ peak, random.uniform() < 0.5 ? 1.0 : -1.0, 0, (int) (milliseconds * 0.001 * rate),
                            random.between (0.4, 1.0) });
    }

private:
    /** A copy with its own state, only for measuring the filters. */
    SurfaceNoise (const SurfaceNoise& other, int)
        : rate (other.rate),
          random (12345),
          clickChance (0.0)
    {
    }

    struct Click
    {
        double peak, sign;
        int age, length;
        double right; // the share in the other channel
    };

    std::array<float, 3> raw()
    {
        // Pink-ish hiss: white noise through three poles (an economy filter), partly shared by
        // the two channels.
        const float shared = random.bipolar();
        const float whiteL = 0.6f * shared + 0.8f * random.bipolar();
        const float whiteR = 0.6f * shared + 0.8f * random.bipolar();

        const auto pink = [] (std::array<float, 3>& b, float white)
        {
            b[0] = 0.99765f * b[0] + white * 0.0990460f;
            b[1] = 0.96300f * b[1] + white * 0.2965164f;
            b[2] = 0.57000f * b[2] + white * 1.0526913f;
            return b[0] + b[1] + b[2] + white * 0.1848f;
        };

        const float hissL = pink (pinkL, whiteL);
        const float hissR = pink (pinkR, whiteR);

        // Rumble: white noise through two poles at about 20 Hz.
        rumble1 = pole * rumble1 + (1.0f - pole) * random.bipolar();
        rumble2 = pole * rumble2 + (1.0f - pole) * rumble1;

        return { hissL, hissR, rumble2 };
    }

    void startClick()
    {
        // Mostly ticks of a fraction of a millisecond; now and then a pop of several.
        if (random.uniform() < 0.06 && pops)
            click (random.between (0.3, 0.8), random.between (3.0, 6.0));
        else
            click (dbToGain (random.between (-36.0, -6.0)), random.between (0.2, 1.5));
    }

    std::array<float, 2> clickSample()
    {
        float left = 0.0f, right = 0.0f;

        for (auto& c : clicks)
        {
            const double t = (double) c.age / juce::jmax (1, c.length);
            const double shape =
                c.sign * c.peak * std::exp (-4.0 * t) * std::cos (juce::MathConstants<double>::pi * 3.0 * t);
            left += (float) shape;
            right += (float) (shape * c.right);
            ++c.age;
        }

        clicks.erase (std::remove_if (clicks.begin(), clicks.end(), [] (const Click& c) { return c.age >= c.length; }),
                      clicks.end());
        return { left, right };
    }

    double rate;
    Random random;
    double clickChance;
    bool pops = true;
    float pole = (float) std::exp (-juce::MathConstants<double>::twoPi * 20.0 / rate);
    float hissGain = 0.0f, rumbleGain = 0.0f;
    std::array<float, 3> pinkL{}, pinkR{};
    float rumble1 = 0.0f, rumble2 = 0.0f;
    std::vector<Click> clicks;
};

//==============================================================================
/** One song, alone, at the side's rate: its frames and, per frame, what it is (for its level). */
struct RenderedSong
{
    std::vector<float> left, right;
};

inline RenderedSong renderSong (const Song& song, double rate, juce::uint32 seed)
{
    Random random (seed);
    const int frames = (int) (song.seconds * rate);
    RenderedSong out;
    out.left.assign ((size_t) frames, 0.0f);
    out.right.assign ((size_t) frames, 0.0f);

    // The music: a key, a tempo, four chords a bar each.
    const double tempo = random.between (84.0, 132.0);
    const double beat = 60.0 / tempo;
    const int root = 45 + random.below (12);
    const bool minor = random.uniform() < 0.4;
    const int third = minor ? 3 : 4;
    static const int degrees[] = { 0, 5, 7, 9 };
    const int steps[] = { 0, 2, minor ? 3 : 4, 5, 7, minor ? 8 : 9, minor ? 10 : 11 };
    int progression[4];
    for (auto& chord : progression)
        chord = degrees[random.below (4)];
    progression[0] = 0;

    // Sections: the quiet intro, the soft passage in the middle, the body, the ending.
    const double introEnd = song.quietIntro ? 3.0 : 0.0;
    const double softStart = song.softPassage ? juce::jmax (introEnd + 3.0, song.seconds * 0.5 - 2.0) : -1.0;
    const double softEnd = song.softPassage ? softStart + 4.0 : -1.0;
    const double endingLength = song.fadeOut ? 4.0 : 2.0;
    const double endingStart = song.seconds - endingLength;

    // The melody's notes: eighths, some of them rests.
    const int eighths = (int) (song.seconds / (beat * 0.5)) + 2;
    std::vector<int> melody ((size_t) eighths);
    for (auto& note : melody)
        note = random.uniform() < 0.65 ? 48 + root % 12 + steps[random.below (6)] + 12 * random.below (2) : -1;

    Oscillator pad[9], bass[2], lead[2], kickOsc, vibratoOsc;
    float snareLow = 0.0f, hatLow = 0.0f;
    const double vibratoHz = random.between (4.5, 6.0);

    double bodyPower = 0.0;
    juce::int64 bodyFrames = 0;

    // Envelopes and notes change at a control rate of 32 frames; the oscillators run at the
    // audio rate.
    constexpr int control = 32;
    for (int blockStart = 0; blockStart < frames; blockStart += control)
    {
        const double t = blockStart / rate;
        const int beatIndex = (int) (t / beat);
        const double inBeat = t - beatIndex * beat;
        const int bar = beatIndex / 4;
        const double inBar = t - bar * 4 * beat;
        const int chord = root + progression[bar % 4];

        const bool intro = t < introEnd;
        const bool soft = t >= softStart && t < softEnd;
        const bool ringing = ! song.fadeOut && t >= endingStart;
        const bool drums = ! intro && ! soft && ! ringing;

        double sectionDb = 0.0;
        const double ramp = 0.15;
        if (intro)
            sectionDb = -15.0 * juce::jlimit (0.0, 1.0, (introEnd - t) / ramp);
        if (song.softPassage)
        {
            const double into = juce::jmin (t - softStart, softEnd - t);
            if (into > -ramp)
                sectionDb = -12.0 * juce::jlimit (0.0, 1.0, (into + ramp) / ramp);
        }
        const float gain = (float) dbToGain (sectionDb);

        const double vibrato = 1.0 + 0.004 * vibratoOsc.next (vibratoHz * control / rate);
        const float padLevel = (float) (0.10 * juce::jmin (1.0, inBar / 0.05) * (0.7 + 0.3 * std::exp (-inBar / 0.4)));
        const int padNotes[3] = { chord + 12, chord + 12 + third, chord + 19 };
        double padSteps[9];
        for (int n = 0; n < 3; ++n)
            for (int h = 0; h < 3; ++h)
                padSteps[n * 3 + h] = midiHz (padNotes[n]) * vibrato * (h + 1) / rate;

        float bassLevel = 0.0f;
        const double bassStep = midiHz (chord - 12) / rate;
        if (! intro && ! soft)
        {
            const double bassAge = (beatIndex % 2 == 0) ? inBeat : inBeat + beat;
            bassLevel = (float) (0.30 * std::exp (-bassAge / 0.5) * juce::jmin (1.0, bassAge / 0.01));
        }

        const int eighth = (int) (t / (beat * 0.5));
        const double inEighth = t - eighth * beat * 0.5;
        float leadLevel = 0.0f;
        double leadStep = 0.0;
        if (melody[(size_t) eighth] >= 0 && ! ringing)
        {
            leadStep = midiHz (melody[(size_t) eighth]) * vibrato / rate;
            leadLevel = (float) (0.16 * juce::jmin (1.0, inEighth / 0.008) * std::exp (-inEighth / 0.35));
        }

        float kickLevel = 0.0f, snareLevel = 0.0f, hatLevel = 0.0f;
        double kickStep = 0.0;
        if (drums)
        {
            if (beatIndex % 2 == 0 && inBeat < 0.15)
            {
                kickStep = (50.0 + 70.0 * std::exp (-inBeat / 0.03)) / rate;
                kickLevel = (float) (0.5 * std::exp (-inBeat / 0.06));
            }
            if (beatIndex % 2 == 1 && inBeat < 0.25)
                snareLevel = (float) (0.25 * std::exp (-inBeat / 0.08));
            if (inEighth < 0.06)
                hatLevel = (float) (0.08 * std::exp (-inEighth / 0.02));
        }

        const bool body = ! intro && ! soft && t < endingStart && ! (song.fadeIn && t < 1.5) &&
                          ! (song.softPassage && t >= softStart - 0.2 && t < softEnd + 0.2);

        const int blockEnd = juce::jmin (frames, blockStart + control);
        for (int i = blockStart; i < blockEnd; ++i)
        {
            // Pad: the chord's three notes with two overtones.
            float chordSound = 0.0f;
            for (int p = 0; p < 9; ++p)
            {
                const int h = p % 3 + 1;
                chordSound += pad[p].next (padSteps[p]) / (float) (h * h);
            }
            chordSound *= padLevel;

            float bassSound = 0.0f;
            if (bassLevel > 0.0f)
                bassSound = bassLevel * (bass[0].next (bassStep) + 0.4f * bass[1].next (2.0 * bassStep));

            float leadSound = 0.0f;
            if (leadLevel > 0.0f)
                leadSound = leadLevel * (lead[0].next (leadStep) + 0.2f * lead[1].next (3.0 * leadStep));

            float kick = 0.0f, snare = 0.0f, hat = 0.0f;
            if (kickLevel > 0.0f)
                kick = kickLevel * kickOsc.next (kickStep);
            if (snareLevel > 0.0f)
            {
                const float noise = random.bipolar();
                snareLow += 0.3f * (noise - snareLow);
                snare = snareLevel * (noise - 0.5f * snareLow);
            }
            if (hatLevel > 0.0f)
            {
                const float noise = random.bipolar();
                hatLow += 0.5f * (noise - hatLow);
                hat = hatLevel * (noise - hatLow);
            }

            const float left = gain * (0.9f * chordSound + bassSound + 0.9f * leadSound + kick + snare + 0.5f * hat);
            const float right = gain * (0.7f * chordSound + bassSound + 0.5f * leadSound + kick + snare + 0.9f * hat);

            if (body)
            {
                bodyPower += 0.5 * ((double) left * left + (double) right * right);
                ++bodyFrames;
            }

            out.left[(size_t) i] = left;
            out.right[(size_t) i] = right;
        }
    }

    // The level of the body, then the fades and the ending on top.
    const double bodyGain =
        dbToGain (song.levelDb) / std::sqrt (bodyPower / (double) juce::jmax ((juce::int64) 1, bodyFrames));
    for (int blockStart = 0; blockStart < frames; blockStart += control)
    {
        const double t = blockStart / rate;
        double db = 0.0;
        if (song.fadeIn && t < 1.5)
            db += -40.0 * (1.0 - t / 1.5);
        if (song.fadeOut && t >= endingStart)
            db += -50.0 * (t - endingStart) / endingLength;

        double g = bodyGain * dbToGain (db);

        // Without a fade-out the band stops and its last chord rings on, dying away.
        if (! song.fadeOut && t >= endingStart)
            g *= std::exp (-(t - endingStart) / (endingLength / 6.9));

        const int blockEnd = juce::jmin (frames, blockStart + control);
        for (int i = blockStart; i < blockEnd; ++i)
        {
            out.left[(size_t) i] *= (float) g;
            out.right[(size_t) i] *= (float) g;
        }
    }

    return out;
}

/** Where a song's own sound stands above `threshold` RMS, in 20 ms frames: its audible part. */
inline Span audiblePart (const RenderedSong& song, double rate, double threshold)
{
    const int frame = (int) (0.02 * rate);
    const auto n = (juce::int64) song.left.size();
    juce::int64 first = -1, last = -1;

    for (juce::int64 start = 0; start < n; start += frame)
    {
        const auto end = juce::jmin (n, start + frame);
        double power = 0.0;
        for (auto i = start; i < end; ++i)
            power += 0.5 * ((double) song.left[(size_t) i] * song.left[(size_t) i] +
                            (double) song.right[(size_t) i] * song.right[(size_t) i]);
        if (std::sqrt (power / (double) (end - start)) > threshold)
        {
            if (first < 0)
                first = start;
            last = end;
        }
    }

    return first < 0 ? Span{ 0, 0 } : Span{ first, last };
}

//==============================================================================
/**
    Plays the side into `sink` a piece at a time: the input's own quiet before the needle drops,
    the drop, the lead-in groove, the songs with their gaps, the lead-out groove with its click at
    each turn, the lift and the quiet again. Each song's place and audible part are reported.
*/
inline void playSide (const SideSpec& spec, const std::function<void (const float*, const float*, int)>& sink,
                      std::vector<Span>* songs = nullptr, std::vector<Span>* audible = nullptr, Span* leadIn = nullptr)
{
    const double rate = spec.rate;
    SurfaceNoise groove (rate, spec.noiseDb, spec.clicksPerSecond, spec.seed);
    Random random (spec.seed * 7 + 3);
    const double audibleFloor = dbToGain (spec.noiseDb - 20.0);
    juce::int64 position = 0;

    std::vector<float> left, right;
    const auto emit = [&]
    {
        sink (left.data(), right.data(), (int) left.size());
        position += (juce::int64) left.size();
    };
    const auto silence = [&] (double seconds)
    {
        left.assign ((size_t) (seconds * rate), 0.0f);
        right.assign (left.size(), 0.0f);
    };

    // The input before the needle: a preamp's faint hiss, then the thump of the drop.
    silence (1.0);
    for (size_t i = 0; i < left.size(); ++i)
    {
        left[i] = (float) dbToGain (-85.0) * random.bipolar();
        right[i] = (float) dbToGain (-85.0) * random.bipolar();
    }
    emit();

    silence (0.08);
    for (size_t i = 0; i < left.size(); ++i)
    {
        const double t = (double) i / rate;
        left[i] = right[i] =
            (float) (0.3 * std::sin (juce::MathConstants<double>::twoPi * 18.0 * t) * std::exp (-t / 0.03));
    }
    groove.addTo (left.data(), right.data(), (int) left.size());
    emit();

    silence (2.0);
    groove.addTo (left.data(), right.data(), (int) left.size());
    if (leadIn != nullptr)
        *leadIn = { position, position + (juce::int64) left.size() };
    emit();

    for (size_t s = 0; s < spec.songs.size(); ++s)
    {
        auto song = renderSong (spec.songs[s], rate, spec.seed * 101 + (juce::uint32) s);
        const auto heard = audiblePart (song, rate, audibleFloor);
        if (songs != nullptr)
            songs->push_back ({ position, position + (juce::int64) song.left.size() });
        if (audible != nullptr)
            audible->push_back ({ position + heard.start, position + heard.end });

        left = std::move (song.left);
        right = std::move (song.right);
        groove.addTo (left.data(), right.data(), (int) left.size());
        emit();

        if (s < spec.gaps.size() && s + 1 < spec.songs.size())
        {
            silence (spec.gaps[s]);
            groove.addTo (left.data(), right.data(), (int) left.size());
            emit();
        }
    }

    // The lead-out groove clicks once a turn of the platter.
    for (int turn = 0; turn < 2; ++turn)
    {
        silence (1.8);
        groove.click (0.2, 1.0);
        groove.addTo (left.data(), right.data(), (int) left.size(), false);
        emit();
    }

    silence (0.06);
    for (size_t i = 0; i < left.size(); ++i)
    {
        const double t = (double) i / rate;
        left[i] = right[i] =
            (float) (-0.2 * std::sin (juce::MathConstants<double>::twoPi * 22.0 * t) * std::exp (-t / 0.02));
    }
    emit();

    silence (1.0);
    for (size_t i = 0; i < left.size(); ++i)
    {
        left[i] = (float) dbToGain (-85.0) * random.bipolar();
        right[i] = (float) dbToGain (-85.0) * random.bipolar();
    }
    emit();
}

/** The whole side in memory. */
inline Side render (const SideSpec& spec)
{
    Side side;
    side.rate = spec.rate;
    playSide (
        spec,
        [&side] (const float* left, const float* right, int n)
        {
            side.left.insert (side.left.end(), left, left + n);
            side.right.insert (side.right.end(), right, right + n);
        },
        &side.songs, &side.audible, &side.leadIn);
    return side;
}

/** Only the groove, for Calibrate: a quiet stretch of it, with ticks but no pop, as a user would
    choose to calibrate on. */
inline std::vector<std::vector<float>> quietGroove (const SideSpec& spec, double seconds)
{
    SurfaceNoise groove (spec.rate, spec.noiseDb, spec.clicksPerSecond, spec.seed + 999, false);
    std::vector<std::vector<float>> channels (2, std::vector<float> ((size_t) (seconds * spec.rate), 0.0f));
    groove.addTo (channels[0].data(), channels[1].data(), (int) channels[0].size());
    return channels;
}
} // namespace recordsides
