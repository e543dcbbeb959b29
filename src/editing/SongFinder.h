#pragma once

#include <juce_core/juce_core.h>

#include <optional>
#include <vector>

/**
    Finds where a side of a record divides into songs. It hears the side once, block by block,
    and keeps only a level envelope of it (four bytes for every 20 milliseconds: about 240 kB for a
    twenty-minute side, never the audio); the cuts are then worked out from that envelope.

    The envelope. Left and right are summed (vertical rumble cancels, music adds up) and
    band-limited to 100 Hz - 4 kHz (rumble and most of the hiss stay out; music has its body
    there). Each 20 ms frame is measured as the median of the powers of its ten 2 ms pieces, so
    that a click, which fills one or two pieces, does not count; a running median over 180 ms
    then smooths the frames and takes out what is left of clicks and crackle.

    The noise floor is the groove's own: the quietest 0.4 s stretch between the first and the
    last loud sound of the side (a gap between songs), not a fixed level. The lead-in and the
    lead-out are left out of it, since before the needle drops the input may be far quieter than
    any groove.

    A place to cut is a stretch quieter than halfway (in dB) between that floor and the music
    around it (the louder fifth of the 16 s about each frame), with some seconds of music on
    either side. Each place is judged against the quieter of the two songs beside it: every
    20 ms of it scores exp(-q / 0.1), where q is how far its level stands above the floor, as a
    share of the way from the floor up to that music. A second at the floor scores nearly 1; a
    soft passage halfway up scores under 0.01 a second however long it lasts. So depth matters
    far more than length, and length decides between equally deep places.

    With a number of songs N, the N - 1 places that score best are cut, taking care that each
    track keeps some seconds of music; with fewer places than that, no cut is made at all.
    Without a number, a place is cut when it stays within a few dB of the floor (15 % of the way
    up to the music, at least 1.5 dB and at most 4 dB) for at least half a second: a pause in
    the groove, not a soft passage of the music.

    Where the cut goes: the quiet stretch runs from where the song before it has died away into
    the floor to where the next one rises out of it (both found on a 0.3 s mean, so that a
    fade-out and a quiet intro that are barely above the noise still count as music). The cut is
    half a second before the next song's first sound, and never before the middle of the
    stretch: the fade-out stays with its song, and the next track starts with a short quiet
    lead-in.
*/
class SongFinder
{
public:
    explicit SongFinder (double sampleRate);

    /** Hears the next frames of the side, in blocks of any size: samples from -1 to 1. */
    void addBlock (const float* left, const float* right, int numFrames);

    /** The same from 32-bit integers, full scale at the top bit, as integer audio is read. */
    void addBlock (const int* left, const int* right, int numFrames);

    /** Tells the finder that the audio was already cut at this frame: tracks joined end to end
        meet there. Such a place splits no sound, so it is always a place to cut, judged by how
        quiet the half second before it is; the capture's own cuts come after a silence that it
        left out, so that no pause may be heard there at all. */
    void addJunction (juce::int64 frame);

    /** Where to cut, in frames of the side, ascending. With `songs` from 1 up: songs - 1 cuts,
        or nothing when the side has fewer places to cut than that. With 0: the finder's own
        judgement, perhaps no cut at all. */
    std::optional<std::vector<juce::int64>> findCuts (int songs) const;

    /** How many places to cut the side offers: the most songs it can be cut into, less one. */
    int countPlaces() const;

    double getSampleRate() const { return sampleRate; }
    juce::int64 getFramesHeard() const { return framesHeard; }

    /** The memory that the envelope holds. */
    size_t getEnvelopeBytes() const { return levels.capacity() * sizeof (float); }

    /** Frames of the side in one step of the envelope. */
    int getStepFrames() const { return stepFrames; }

    /** The half second of quiet that each track starts with, before its first sound. */
    static constexpr double preRollSeconds = 0.5;

private:
    struct Place
    {
        int start = 0, end = 0;  // the quiet stretch, in steps of the envelope
        juce::int64 cut = 0;     // where the side is cut, in frames
        double score = 0.0;      // how deep and how long
        bool isPause = false;    // stays near the floor long enough for the finder's own judgement
        bool atJunction = false; // where joined tracks meet
    };

    /** Everything the decision needs, worked out from the envelope. */
    struct Analysis
    {
        std::vector<Place> places;    // the places to cut, in the order of the side
        std::vector<int> soundBefore; // steps of music from the start up to each step
    };

    void addFrame (float mono);
    Analysis analyse() const;

    /** Picks places by score, each track keeping some music; at most `wanted` when it is above 0. */
    std::vector<juce::int64> choose (const Analysis& analysis, bool pausesOnly, int wanted) const;

    double sampleRate;
    int pieceFrames; // a 2 ms piece
    int stepFrames;  // ten pieces: one step of the envelope
    double stepSeconds;

    // The band filter: a high-pass at 100 Hz and a low-pass at 4 kHz, each a biquad.
    struct Biquad
    {
        double b0 = 1.0, b1 = 0.0, b2 = 0.0, a1 = 0.0, a2 = 0.0;
        double z1 = 0.0, z2 = 0.0;

        double process (double x)
        {
            const double y = b0 * x + z1;
            z1 = b1 * x - a1 * y + z2;
            z2 = b2 * x - a2 * y;
            return y;
        }
    };

    Biquad highPass, lowPass;
    double piecePower = 0.0;
    int pieceFill = 0;
    float pieces[10] = {};
    int pieceCount = 0;
    juce::int64 framesHeard = 0;
    std::vector<float> levels; // dB, one a step
    std::vector<juce::int64> junctions;

    JUCE_DECLARE_NON_COPYABLE (SongFinder)
};
