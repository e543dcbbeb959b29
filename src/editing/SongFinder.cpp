#include "editing/SongFinder.h"

#include <juce_audio_basics/juce_audio_basics.h>

#include <algorithm>
#include <cmath>
#include <deque>
#include <numeric>

namespace
{
constexpr double pieceSeconds = 0.002;
constexpr double longestSideSeconds = 1800.0;
constexpr int piecesPerStep = 10;
constexpr double highPassHz = 100.0;
constexpr double lowPassHz = 4000.0;
constexpr float quietestLevel = -150.0f; // dB; digital silence counts as this

constexpr int smoothingSteps = 9; // the running median over 180 ms
constexpr double floorWindowSeconds = 0.4;
constexpr double musicWindowSeconds = 8.0; // on either side of a frame, or of a place
constexpr double musicShare = 0.8;         // the louder fifth of that window is the music
constexpr float loudnessRange = 20.0f;     // the first and last loud sound: this far below the side's loud parts
constexpr double placeShare = 0.5;         // a place is quieter than halfway from floor to music
constexpr double musicFloorShare = 0.3;    // a frame counts as music above this share of the way
constexpr double scoreScale = 0.1;         // each tenth of the way up to the music costs a factor e
constexpr double minimumScore = 0.01;
constexpr double minimumSongSeconds = 5.0; // of music in every track
constexpr double pauseShare = 0.15;
constexpr float pauseMinDb = 1.5f, pauseMaxDb = 4.0f;
constexpr double pauseSeconds = 0.5;
constexpr int pauseBridgeSteps = 3; // a pause may be broken this many steps by a noise burst
constexpr double meanSeconds = 0.3;
constexpr float risingMarginDb = 0.5f;

float median (std::vector<float> values)
{
    if (values.empty())
        return quietestLevel;

    const auto middle = values.begin() + (std::ptrdiff_t) (values.size() / 2);
    std::nth_element (values.begin(), middle, values.end());
    return *middle;
}

/** The value below which `share` of the values lie, from a copy. */
float percentile (const float* first, const float* last, double share, std::vector<float>& scratch)
{
    if (first >= last)
        return quietestLevel;

    scratch.assign (first, last);
    const auto index = (std::ptrdiff_t) std::min (scratch.size() - 1, (size_t) (share * (double) scratch.size()));
    std::nth_element (scratch.begin(), scratch.begin() + index, scratch.end());
    return scratch[(size_t) index];
}
} // namespace

SongFinder::SongFinder (double rate)
    : sampleRate (rate > 0.0 ? rate : 44100.0)
{
    pieceFrames = juce::jmax (1, juce::roundToInt (sampleRate * pieceSeconds));
    stepFrames = pieceFrames * piecesPerStep;
    stepSeconds = (double) stepFrames / sampleRate;

    // Two biquads from the cookbook, Butterworth.
    const auto design = [this] (Biquad& filter, double hz, bool high)
    {
        const double w0 = juce::MathConstants<double>::twoPi * juce::jmin (hz, 0.45 * sampleRate) / sampleRate;
        const double cosW = std::cos (w0);
        const double alpha = std::sin (w0) / (2.0 * juce::MathConstants<double>::sqrt2 * 0.5);
        const double a0 = 1.0 + alpha;
        const double edge = high ? (1.0 + cosW) / 2.0 : (1.0 - cosW) / 2.0;
        filter.b0 = edge / a0;
        filter.b1 = (high ? -2.0 * edge : 2.0 * edge) / a0;
        filter.b2 = edge / a0;
        filter.a1 = -2.0 * cosW / a0;
        filter.a2 = (1.0 - alpha) / a0;
    };

    design (highPass, highPassHz, true);
    design (lowPass, lowPassHz, false);

    // Room for the longest sides at once, so that the envelope is not copied as it grows.
    levels.reserve ((size_t) (longestSideSeconds / stepSeconds));
}

void SongFinder::addFrame (float mono)
{
    const double y = lowPass.process (highPass.process ((double) mono));
    piecePower += y * y;

    if (++pieceFill < pieceFrames)
        return;

    pieces[pieceCount++] = (float) (piecePower / pieceFrames);
    piecePower = 0.0;
    pieceFill = 0;

    if (pieceCount < piecesPerStep)
        return;

    // A click fills one or two pieces of ten: the median leaves it out.
    float sorted[piecesPerStep];
    std::copy (std::begin (pieces), std::end (pieces), sorted);
    std::nth_element (sorted, sorted + piecesPerStep / 2, sorted + piecesPerStep);
    const float upper = sorted[piecesPerStep / 2];
    const float lower = *std::max_element (sorted, sorted + piecesPerStep / 2);
    const float power = 0.5f * (upper + lower);

    levels.push_back (juce::jmax (quietestLevel, 10.0f * std::log10 (power + 1.0e-30f)));
    pieceCount = 0;
}

void SongFinder::addJunction (juce::int64 frame)
{
    junctions.push_back (frame);
}

void SongFinder::addBlock (const float* left, const float* right, int numFrames)
{
    juce::ScopedNoDenormals noDenormals;

    for (int i = 0; i < numFrames; ++i)
        addFrame (0.5f * (left[i] + right[i]));

    framesHeard += numFrames;
}

void SongFinder::addBlock (const int* left, const int* right, int numFrames)
{
    juce::ScopedNoDenormals noDenormals;
    constexpr float scale = 0.5f / 2147483648.0f;

    for (int i = 0; i < numFrames; ++i)
        addFrame (scale * ((float) left[i] + (float) right[i]));

    framesHeard += numFrames;
}

//==============================================================================
SongFinder::Analysis SongFinder::analyse() const
{
    Analysis analysis;
    const int n = (int) levels.size();
    analysis.soundBefore.assign ((size_t) n + 1, 0);

    if (n < smoothingSteps)
        return analysis;

    // The smoothed envelope: a running median takes out what clicks and crackle left.
    std::vector<float> level ((size_t) n);
    {
        std::vector<float> window;
        for (int f = 0; f < n; ++f)
        {
            const int from = juce::jmax (0, f - smoothingSteps / 2);
            const int to = juce::jmin (n, f + smoothingSteps / 2 + 1);
            window.assign (levels.begin() + from, levels.begin() + to);
            level[(size_t) f] = median (window);
        }
    }

    std::vector<float> scratch;
    const float loud = percentile (level.data(), level.data() + n, 0.9, scratch);

    // The music's extent: the floor is looked for between its first and last loud sound, so
    // that what the input heard before the needle dropped does not count as the groove's.
    int first = 0;
    while (first < n && level[(size_t) first] < loud - loudnessRange)
        ++first;
    int last = n - 1;
    while (last > first && level[(size_t) last] < loud - loudnessRange)
        --last;

    // The groove's floor: the quietest stretch of 0.4 s in there, by its loudest moment.
    const int floorWindow = juce::jmax (1, juce::roundToInt (floorWindowSeconds / stepSeconds));
    float noiseFloor = *std::min_element (level.begin(), level.end());
    if (last - first + 1 >= floorWindow)
    {
        std::deque<int> maxima; // steps of the window in decreasing order of level
        float quietest = std::numeric_limits<float>::max();
        int quietestStart = first;

        for (int f = first; f <= last; ++f)
        {
            while (! maxima.empty() && level[(size_t) maxima.back()] <= level[(size_t) f])
                maxima.pop_back();
            maxima.push_back (f);
            if (maxima.front() <= f - floorWindow)
                maxima.pop_front();

            if (f - first + 1 >= floorWindow && level[(size_t) maxima.front()] < quietest)
            {
                quietest = level[(size_t) maxima.front()];
                quietestStart = f - floorWindow + 1;
            }
        }

        noiseFloor =
            median (std::vector<float> (level.begin() + quietestStart, level.begin() + quietestStart + floorWindow));
    }

    // The music about each frame, on a grid of half seconds.
    const int musicSteps = juce::roundToInt (musicWindowSeconds / stepSeconds);
    const int gridSteps = juce::jmax (1, juce::roundToInt (0.5 / stepSeconds));
    std::vector<float> musicGrid ((size_t) ((n + gridSteps / 2) / gridSteps + 1));
    for (size_t g = 0; g < musicGrid.size(); ++g)
    {
        const int centre = (int) g * gridSteps;
        const int from = juce::jmax (0, centre - musicSteps);
        const int to = juce::jmin (n, centre + musicSteps);
        musicGrid[g] = percentile (level.data() + from, level.data() + to, musicShare, scratch);
    }
    const auto musicAt = [&] (int f) { return musicGrid[(size_t) ((f + gridSteps / 2) / gridSteps)]; };

    // Music, for the seconds of it that each track must keep.
    for (int f = 0; f < n; ++f)
    {
        const float range = musicAt (f) - noiseFloor;
        const bool music = range >= 6.0f && level[(size_t) f] >= noiseFloor + musicFloorShare * range;
        analysis.soundBefore[(size_t) f + 1] = analysis.soundBefore[(size_t) f] + (music ? 1 : 0);
    }

    // The mean over 0.3 s, for where a song dies away and where the next one rises.
    const int meanHalf = juce::jmax (1, juce::roundToInt (meanSeconds / stepSeconds / 2.0));
    std::vector<double> sums ((size_t) n + 1, 0.0);
    for (int f = 0; f < n; ++f)
        sums[(size_t) f + 1] = sums[(size_t) f] + level[(size_t) f];
    const auto meanAt = [&] (int f)
    {
        const int from = juce::jmax (0, f - meanHalf);
        const int to = juce::jmin (n, f + meanHalf + 1);
        return (float) ((sums[(size_t) to] - sums[(size_t) from]) / (to - from));
    };

    // Each step of a place scores by how near the floor it comes, as a share of the way up to
    // the music beside the place.
    const auto scoreOf = [&] (int start, int end, float range)
    {
        double score = 0.0;
        for (int s = start; s < end; ++s)
        {
            const double q = juce::jlimit (0.0, 1.0, (double) (level[(size_t) s] - noiseFloor) / range);
            score += std::exp (-q / scoreScale) * stepSeconds;
        }
        return score;
    };
    const auto pauseBand = [] (float range)
    { return juce::jlimit (pauseMinDb, pauseMaxDb, (float) pauseShare * range); };
    const auto musicBeside = [&] (int start, int end)
    {
        const float before =
            percentile (level.data() + juce::jmax (0, start - musicSteps), level.data() + start, musicShare, scratch);
        const float after =
            percentile (level.data() + end, level.data() + juce::jmin (n, end + musicSteps), musicShare, scratch);
        return juce::jmin (before, after);
    };

    const int preRollSteps = juce::roundToInt (preRollSeconds / stepSeconds);
    const int pauseSteps = juce::roundToInt (pauseSeconds / stepSeconds);

    // Quieter than halfway from the floor to the music about it.
    const auto isQuiet = [&] (int step)
    { return level[(size_t) step] < noiseFloor + placeShare * (musicAt (step) - noiseFloor); };

    int f = 0;
    while (f < n)
    {
        if (! isQuiet (f))
        {
            ++f;
            continue;
        }

        const int start = f;
        while (f < n && isQuiet (f))
            ++f;
        const int end = f;

        // The lead-in and the lead-out are no places between songs.
        if (start == 0 || end == n)
            continue;

        const float range = musicBeside (start, end) - noiseFloor;
        if (range < 3.0f)
            continue;

        Place place;
        place.start = start;
        place.end = end;
        place.score = scoreOf (start, end, range);

        // Its pause: the longest stretch near the floor, a short noise burst not breaking it.
        const float pauseDb = pauseBand (range);
        int pauseStart = -1, pauseEnd = -1, runStart = -1, lastDeep = -1;
        for (int s = start; s <= end; ++s)
        {
            const bool deep = s < end && level[(size_t) s] <= noiseFloor + pauseDb;
            const bool broken = runStart >= 0 && (s == end || (deep && s - lastDeep - 1 > pauseBridgeSteps));

            if (broken)
            {
                if (lastDeep + 1 - runStart > pauseEnd - pauseStart)
                {
                    pauseStart = runStart;
                    pauseEnd = lastDeep + 1;
                }
                runStart = -1;
            }

            if (deep)
            {
                if (runStart < 0)
                    runStart = s;
                lastDeep = s;
            }
        }

        int cutStep = 0;
        if (pauseStart >= 0)
        {
            place.isPause = pauseEnd - pauseStart >= pauseSteps;

            // Where the song before has died away, and where the next one rises: the mean over
            // 0.3 s stands clear of the pause's own level.
            const float pauseLevel =
                median (std::vector<float> (level.begin() + pauseStart, level.begin() + pauseEnd)) + risingMarginDb;
            int rise = pauseEnd;
            while (rise > pauseStart && meanAt (rise - 1) > pauseLevel)
                --rise;
            int fall = pauseStart;
            while (fall < rise && meanAt (fall) > pauseLevel)
                ++fall;
            if (fall >= rise)
                fall = rise = (pauseStart + pauseEnd) / 2;

            cutStep = juce::jmax (rise - preRollSteps, (fall + rise) / 2);
        }
        else
        {
            // No pause at all (a soft passage): the quietest 0.3 s.
            cutStep = start;
            for (int s = start; s < end; ++s)
                if (meanAt (s) < meanAt (cutStep))
                    cutStep = s;
        }

        place.cut = (juce::int64) cutStep * stepFrames;
        analysis.places.push_back (place);
    }

    // Where joined tracks meet, the audio is cut already: judged by the half second before.
    for (const auto frame : junctions)
    {
        const int step = (int) (frame / stepFrames);
        if (step <= 0 || step >= n)
            continue;

        // A quiet place around it may be cut however little it scores; without a pause of its
        // own, it is cut where the tracks meet.
        const auto around = std::find_if (analysis.places.begin(), analysis.places.end(),
                                          [step] (const Place& p) { return p.start <= step && step <= p.end; });
        if (around != analysis.places.end())
        {
            around->atJunction = true;
            if (! around->isPause)
                around->cut = frame;
            continue;
        }

        Place place;
        place.start = juce::jmax (0, step - pauseSteps);
        place.end = step;
        place.cut = frame;
        place.atJunction = true;

        const float range = juce::jmax (3.0f, musicBeside (place.start, place.end) - noiseFloor);
        place.score = scoreOf (place.start, place.end, range);
        place.isPause = place.end - place.start >= pauseSteps &&
                        std::all_of (level.begin() + place.start, level.begin() + place.end,
                                     [&] (float l) { return l <= noiseFloor + pauseBand (range); });
        analysis.places.push_back (place);
    }

    std::sort (analysis.places.begin(), analysis.places.end(),
               [] (const Place& a, const Place& b) { return a.start < b.start; });
    return analysis;
}

std::vector<juce::int64> SongFinder::choose (const Analysis& analysis, bool pausesOnly, int wanted) const
{
    const auto& sound = analysis.soundBefore;
    const int minimumSong = juce::roundToInt (minimumSongSeconds / stepSeconds);
    const int total = sound.back();

    std::vector<const Place*> candidates;
    for (const auto& place : analysis.places)
    {
        if (pausesOnly && ! place.isPause)
            continue;
        if (place.score < minimumScore && ! place.atJunction)
            continue;
        if (sound[(size_t) place.start] < minimumSong || total - sound[(size_t) place.end] < minimumSong)
            continue;
        candidates.push_back (&place);
    }

    // The best first, each one taken only if the tracks beside it keep their music.
    std::stable_sort (candidates.begin(), candidates.end(),
                      [] (const Place* a, const Place* b) { return a->score > b->score; });

    std::vector<const Place*> chosen; // in the order of the side
    for (const auto* place : candidates)
    {
        if (wanted > 0 && (int) chosen.size() >= wanted)
            break;

        const auto next = std::upper_bound (chosen.begin(), chosen.end(), place,
                                            [] (const Place* a, const Place* b) { return a->start < b->start; });
        const int musicBefore =
            sound[(size_t) place->start] - (next == chosen.begin() ? 0 : sound[(size_t) (*(next - 1))->end]);
        const int musicAfter =
            (next == chosen.end() ? total : sound[(size_t) (*next)->start]) - sound[(size_t) place->end];

        if (musicBefore >= minimumSong && musicAfter >= minimumSong)
            chosen.insert (next, place);
    }

    std::vector<juce::int64> cuts;
    for (const auto* place : chosen)
        cuts.push_back (place->cut);
    return cuts;
}

std::optional<std::vector<juce::int64>> SongFinder::findCuts (int songs) const
{
    if (songs == 1)
        return std::vector<juce::int64>();

    const auto analysis = analyse();

    if (songs <= 0)
        return choose (analysis, true, 0);

    auto cuts = choose (analysis, false, songs - 1);
    if ((int) cuts.size() < songs - 1)
        return std::nullopt;

    return cuts;
}

int SongFinder::countPlaces() const
{
    return (int) choose (analyse(), false, 0).size();
}
