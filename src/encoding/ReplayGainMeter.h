#pragma once

#include <juce_core/juce_core.h>

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

/** The ReplayGain of a track or of an album: the gain that brings it to the reference loudness,
    in dB, and its largest sample, 1.0 being full scale. */
struct ReplayGain
{
    double gain = 0.0;
    double peak = 0.0;
};

/**
    Measures what a convertor encodes, as the convertor hands its samples to the encoder: the
    length of each track always, and, when asked, its loudness by EBU R128 (libebur128), from
    which come the ReplayGain values of each track and of the whole album at the reference of
    -18 LUFS. The peak is the sample peak of what was encoded.

    The loudness is worked out on a thread of the meter's own while the convertor's worker goes
    on encoding, so that measuring costs the run next to no time on a machine with a core to
    spare; the worker only copies each chunk. A convertor's worker calls `startTrack` and
    `addSamples`; the encode run, on the message thread and once the conversion has ended, calls
    `finishTrack` or `discardTrack`, and `albumGain` at the end.
*/
class ReplayGainMeter
{
public:
    /** With `measureLoudness` false, the meter only counts the frames. */
    explicit ReplayGainMeter (bool measureLoudness);
    ~ReplayGainMeter();

    /** The loudness that ReplayGain brings every track to, in LUFS. */
    static constexpr double referenceLoudness = -18.0;

    //==============================================================================
    /** A new track at the rate its file will play at, of one or two channels (what the
        convertors encode is always two). */
    void startTrack (double sampleRate, int channels = 2);

    /** Two channels of 32-bit integers, left-justified, as the AIFF, FLAC and Ogg writers take them. */
    void addSamples (const int* const* channels, int frames);

    /** The track's channels as floats, full scale at 1.0. */
    void addSamples (const float* const* channels, int frames);

    /** Interleaved 16-bit stereo, as the MP3 encoder takes it. */
    void addSamples (const juce::int16* interleaved, int frames);

    //==============================================================================
    /** What the meter found of one track. */
    struct Track
    {
        double seconds = 0.0;
        /** False when loudness was not asked for, or the track held no sound to measure. */
        bool measured = false;
        ReplayGain replayGain;
    };

    /** Ends the track that was started and keeps its loudness for the album's. None when no
        track was started since the last finish. */
    std::optional<Track> finishTrack();

    /** Forgets the track that was started: its conversion failed. */
    void discardTrack();

    /** The album's values over every finished track; none without a track that held sound. */
    std::optional<ReplayGain> albumGain() const;

    //==============================================================================
    /** "-3.21 dB", as other ReplayGain tools write a gain. */
    static juce::String gainText (double gain);

    /** "0.954321", as other ReplayGain tools write a peak. */
    static juce::String peakText (double peak);

private:
    struct Measurement;
    struct Block;

    /** Frames per block handed to the meter's thread, and how many blocks may wait for it. */
    static constexpr int blockFrames = 32768;
    static constexpr size_t mostBlocks = 6;

    template <typename Convert>
    void addFrames (int frames, Convert&& convert);

    std::unique_ptr<Block> takeFreeBlock();
    void submitFilling();
    void waitUntilMeasured();
    void measureBlocks();
    void endCurrent();

    const bool measureLoudness;

    // The worker's side: the track being encoded and the block it fills.
    double sampleRate = 0.0;
    int trackChannels = 2;
    juce::int64 frameCount = 0;
    bool trackStarted = false;
    std::unique_ptr<Block> filling;

    // Shared with the meter's thread, under `lock`.
    std::mutex lock;
    std::condition_variable changed;
    std::deque<std::unique_ptr<Block>> waiting;
    std::vector<std::unique_ptr<Block>> freeBlocks;
    size_t blocksMade = 0;
    bool measuring = false;
    bool stopping = false;

    std::unique_ptr<Measurement> current;
    std::vector<std::unique_ptr<Measurement>> finished;
    std::thread thread;

    JUCE_DECLARE_NON_COPYABLE (ReplayGainMeter)
};
