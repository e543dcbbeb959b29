#include "editing/SongSource.h"

#include "project/AudioReaders.h"

#include <cstring>

struct AudioFilesSource::Part
{
    std::unique_ptr<juce::AudioFormatReader> reader;             // read as it is
    std::unique_ptr<juce::AudioFormatReaderSource> readerSource; // or, brought to 44100 Hz, through these
    std::unique_ptr<juce::ResamplingAudioSource> resampler;
    juce::int64 position = 0; // frames of the stream already delivered from this file
    juce::int64 length = 0;
};

namespace
{
/** Full scale at the top bit, from -1 to 1, rounded and clipped. */
inline int toInteger (float sample)
{
    const double scaled = juce::jlimit (-1.0, 1.0, (double) sample) * 2147483647.0;
    return (int) std::lround (scaled);
}
} // namespace

AudioFilesSource::AudioFilesSource (juce::Array<juce::File> filesToJoin)
    : files (std::move (filesToJoin))
{
    formats.registerBasicFormats();
}

AudioFilesSource::~AudioFilesSource() = default;

bool AudioFilesSource::open (juce::File& unreadable)
{
    std::vector<double> rates;
    std::vector<juce::int64> frames;

    for (const auto& file : files)
    {
        auto reader = file.existsAsFile() ? AudioReaders::open (file, formats) : nullptr;
        if (reader == nullptr)
        {
            unreadable = file;
            return false;
        }

        rates.push_back (reader->sampleRate);
        frames.push_back (reader->lengthInSamples);
    }

    if (files.isEmpty())
        return false;

    resampled = std::any_of (rates.begin(), rates.end(), [&] (double r) { return r != rates.front(); });
    rate = resampled ? commonRate : rates.front();

    lengths.clear();
    length = 0;
    for (size_t i = 0; i < frames.size(); ++i)
    {
        const auto partLength =
            resampled ? (juce::int64) std::floor ((double) frames[i] * commonRate / rates[i]) : frames[i];
        lengths.push_back (partLength);
        length += partLength;
    }

    return restart();
}

bool AudioFilesSource::openPart (size_t index)
{
    current.reset();
    currentIndex = index;

    if (index >= (size_t) files.size())
        return true;

    auto part = std::make_unique<Part>();
    part->reader = AudioReaders::open (files[(int) index], formats);
    if (part->reader == nullptr)
        return false;

    part->length = lengths[index];

    if (resampled)
    {
        const double sourceRate = part->reader->sampleRate;
        part->readerSource = std::make_unique<juce::AudioFormatReaderSource> (part->reader.release(), true);
        part->resampler = std::make_unique<juce::ResamplingAudioSource> (part->readerSource.get(), false, 2);
        part->resampler->setResamplingRatio (sourceRate / commonRate);
        part->resampler->prepareToPlay (8192, commonRate);
    }

    current = std::move (part);
    return true;
}

std::vector<juce::int64> AudioFilesSource::getJunctions() const
{
    std::vector<juce::int64> junctions;
    juce::int64 position = 0;
    for (size_t i = 0; i + 1 < lengths.size(); ++i)
        junctions.push_back (position += lengths[i]);
    return junctions;
}

bool AudioFilesSource::restart()
{
    return openPart (0);
}

int AudioFilesSource::read (int* const* channels, int numFrames)
{
    int done = 0;

    while (done < numFrames && current != nullptr)
    {
        auto& part = *current;
        const int n = (int) juce::jmin ((juce::int64) (numFrames - done), part.length - part.position);

        if (n <= 0)
        {
            if (! openPart (currentIndex + 1))
                return -1;
            continue;
        }

        int* into[] = { channels[0] + done, channels[1] + done };

        if (part.resampler != nullptr || part.reader->usesFloatingPointData)
        {
            if (floats.getNumSamples() < n)
                floats.setSize (2, n, false, false, true);

            if (part.resampler != nullptr)
            {
                part.resampler->getNextAudioBlock (juce::AudioSourceChannelInfo (&floats, 0, n));
            }
            else
            {
                // A floating-point reader hands its floats over in the integers' place.
                if (! part.reader->read (into, 2, part.position, n, true))
                    return -1;
                for (int c = 0; c < 2; ++c)
                    std::memcpy (floats.getWritePointer (c), into[c], sizeof (float) * (size_t) n);
            }

            // A mono file gives both channels the same samples.
            const int right = floats.getNumChannels() > 1 ? 1 : 0;
            for (int i = 0; i < n; ++i)
            {
                into[0][i] = toInteger (floats.getSample (0, i));
                into[1][i] = toInteger (floats.getSample (right, i));
            }
        }
        else if (! part.reader->read (into, 2, part.position, n, true))
        {
            return -1;
        }

        part.position += n;
        done += n;
    }

    return done;
}
