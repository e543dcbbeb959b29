#pragma once

#include <juce_audio_formats/juce_audio_formats.h>

#include <memory>
#include <vector>

/**
    The audio in which songs are looked for: a stereo stream read from its start in blocks,
    as 32-bit integers with full scale at the top bit (what JUCE's integer readers give, so that
    16-bit audio comes through bit for bit). It can be read again from the start, since the songs
    are found in one reading and written in a second.
*/
class SongSource
{
public:
    virtual ~SongSource() = default;

    virtual double getSampleRate() const = 0;

    /** Frames of the whole stream. */
    virtual juce::int64 getLengthInFrames() const = 0;

    /** Back to the start; false when the audio can no longer be read. */
    virtual bool restart() = 0;

    /** The next frames into two channels, at most `numFrames`: the count read, 0 at the end, -1
        when a file could not be read. */
    virtual int read (int* const* channels, int numFrames) = 0;

    /** The frames where pieces joined end to end meet, if the stream is made of such. */
    virtual std::vector<juce::int64> getJunctions() const { return {}; }
};

/**
    Audio files joined end to end in the given order: one file is a side file, several are the
    selected rows of the track list. Mono files give both channels the same samples; of more than
    two channels the first two are taken. When the files are all at one rate, that is the
    stream's rate and nothing is changed; files at different rates are all brought to 44100 Hz,
    the rate of everything else the track page writes.
*/
class AudioFilesSource final : public SongSource
{
public:
    explicit AudioFilesSource (juce::Array<juce::File> files);
    ~AudioFilesSource() override;

    /** Opens every file; false, and the first that could not be read, when one can't. */
    bool open (juce::File& unreadable);

    /** True when the files had different rates and are brought to 44100 Hz. */
    bool isResampled() const { return resampled; }

    double getSampleRate() const override { return rate; }
    juce::int64 getLengthInFrames() const override { return length; }
    bool restart() override;
    int read (int* const* channels, int numFrames) override;

    /** Where one file ends and the next begins. */
    std::vector<juce::int64> getJunctions() const override;

    static constexpr double commonRate = 44100.0;

private:
    struct Part;

    bool openPart (size_t index);

    juce::Array<juce::File> files;
    juce::AudioFormatManager formats;
    std::vector<juce::int64> lengths; // of each file, in frames of the stream
    std::unique_ptr<Part> current;
    size_t currentIndex = 0;
    double rate = commonRate;
    bool resampled = false;
    juce::int64 length = 0;
    juce::AudioBuffer<float> floats; // for files read as floats, or resampled

    JUCE_DECLARE_NON_COPYABLE (AudioFilesSource)
};
