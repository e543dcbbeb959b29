#include "editing/CFilters.h"

#include "editing/FiltersProgressThread.h"
#include "editing/FloatVector.h"
#include "project/AudioReaders.h"
#include "project/Dialogs.h"
#include "project/Int16Samples.h"
#include "project/Project.h"

#include <algorithm>
#include <cstring>

namespace
{
/** Floating-point samples, as a reader of a float file leaves them in its integer buffers,
    brought to 16-bit steps in the top bits, as an integer file's would be. */
void floatsToTop16Bits (int* const* channels, int count)
{
    for (int c = 0; c < 2; ++c)
    {
        for (int i = 0; i < count; ++i)
        {
            float value;
            std::memcpy (&value, channels[c] + i, sizeof (value));
            juce::int16 step;
            floatsToInt16 (&value, &step, 1);
            channels[c][i] = (int) ((juce::uint32) (juce::uint16) step << 16);
        }
    }
}

/** The metadata as the writer may copy it: a cue count is only believed as far as the cue
    points are really there, since the writer builds that many whatever the file held. */
juce::StringPairArray metadataToKeep (const juce::StringPairArray& metadata)
{
    auto kept = metadata;

    if (kept.containsKey ("NumCuePoints"))
    {
        int present = 0;
        while (kept.containsKey ("Cue" + juce::String (present) + "Identifier"))
            ++present;

        const auto claimed = kept["NumCuePoints"].getIntValue();
        kept.set ("NumCuePoints", juce::String (juce::jlimit (0, present, claimed)));
    }

    return kept;
}
} // namespace

CFilters::CFilters() = default;

CFilters::CFilters (Project* projectForTexts)
    : project (projectForTexts)
{
}

CFilters::~CFilters() = default;

void CFilters::applyFilters (const char* inputPath, const char* outputPath, int denoiseThreshold,
                             int declickSensibility, bool normalize)
{
    if (! openInput (juce::File (juce::String::fromUTF8 (inputPath))))
    {
        showError ("Error while opening input file");
        return;
    }

    // The input is read completely and closed before the output is opened, so both may be
    // the same file; the output itself is not touched before the run has ended.
    const juce::File output (juce::String::fromUTF8 (outputPath));

    if (! openOutput (output))
    {
        showError ("Error while opening output file");
        return;
    }

    bool finished = false;

    {
        FiltersProgressThread worker (normalize, denoiseThreshold, declickSensibility, samples, numChannels, writer,
                                      numSamples, project);
        worker.threadsToUse = threadsToUse;
        worker.runThread (juce::Thread::Priority::normal);
        finished = worker.finished;
    }

    samples = nullptr;
    ownedSamples.free();

    if (! finished)
    {
        // A cancelled run leaves no output, as it always has: the track page runs in place only
        // on its temporary copy.
        writer = nullptr;
        ownedWriter.reset();
        pendingOutput.reset();
        output.deleteFile();
        return;
    }

    if (! replaceOutput())
        showError ("Error while opening output file");
}

bool CFilters::openInput (const juce::File& input)
{
    juce::WavAudioFormat wav;
    auto opened = AudioReaders::open (input, wav);

    if (opened == nullptr)
        return false;

    reader = opened.get();
    numSamples = (int) juce::jmin (reader->lengthInSamples, (juce::int64) std::numeric_limits<int>::max());
    numChannels = (int) reader->numChannels;
    loadSamples (*reader);

    sampleRate = reader->sampleRate;
    metadataValues = metadataToKeep (reader->metadataValues);
    bitsPerSample = (int) reader->bitsPerSample;
    reader = nullptr;
    return true;
}

void CFilters::loadSamples (juce::AudioFormatReader& source)
{
    // Every frame is cut to the top 16 bits of its two first channels (a float file's samples to
    // the 16-bit steps that the program's writers would make of them), interleaved, and the
    // first numChannels * numSamples of those values become floats, each as the 16-bit value
    // times 1 / 32767 in single precision, the way convertInt16LEToFloat makes them. The file goes
    // through in slices, so that nothing but the float array stays in memory.
    const juce::int64 total = (juce::int64) numChannels * std::max (numSamples, 0);
    samples = ownedSamples.allocate ((size_t) std::max<juce::int64> (total, 1), threadsToUse);

    const int sliceFrames = 65536;
    juce::HeapBlock<int> left (sliceFrames, true), right (sliceFrames, true);
    int* channels[] = { left.get(), right.get() };
    const float scale = 1.0f / 0x7fff;
    const auto scales = FloatVector::fill (scale);

    for (int start = 0; start < numSamples && 2 * (juce::int64) start < total; start += sliceFrames)
    {
        const int count = std::min (sliceFrames, numSamples - start);
        source.read (channels, 2, start, count, false);

        if (source.usesFloatingPointData)
            floatsToTop16Bits (channels, count);

        const juce::int64 first = 2 * (juce::int64) start;
        const int values = (int) std::min<juce::int64> (2 * (juce::int64) count, total - first);
        float* out = samples + first;
        int i = 0;

        for (; 2 * i + 8 <= values; i += 4)
        {
            FloatVector low, high;
            FloatVector::interleave (scales * FloatVector::fromTop16Bits (left + i),
                                     scales * FloatVector::fromTop16Bits (right + i), low, high);
            low.store (out + 2 * i);
            high.store (out + 2 * i + 4);
        }

        for (int j = 2 * i; j < values; ++j)
            out[j] = scale * (float) (channels[j & 1][j >> 1] >> 16);
    }
}

bool CFilters::openOutput (const juce::File& output)
{
    pendingOutput = std::make_unique<juce::TemporaryFile> (output, juce::TemporaryFile::useHiddenFile);
    std::unique_ptr<juce::OutputStream> stream (pendingOutput->getFile().createOutputStream (32768));

    if (stream == nullptr)
    {
        pendingOutput.reset();
        return false;
    }

    juce::WavAudioFormat wav;
    ownedWriter.reset (
        wav.createWriterFor (stream.get(), sampleRate, (unsigned int) numChannels, bitsPerSample, metadataValues, 0));

    if (ownedWriter == nullptr)
    {
        stream.reset();
        pendingOutput.reset();
        return false;
    }

    stream.release(); // now the writer's
    writer = ownedWriter.get();
    return true;
}

bool CFilters::replaceOutput()
{
    // Deleting the writer completes the file.
    writer = nullptr;
    ownedWriter.reset();

    const bool replaced = pendingOutput != nullptr && pendingOutput->overwriteTargetFileWithTemporary();
    pendingOutput.reset();
    return replaced;
}
