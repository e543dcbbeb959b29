// The editing workers fed with every malformed audio file of the corpus: no crash, no output
// longer than the audio the file holds, at 44100 Hz (plus each worker's own padding), the source
// untouched.
#include "editing/CFilters.h"
#include "editing/FiltersProgressThread.h"
#include "editing/MergeThread.h"
#include "editing/ResamplerThread.h"
#include "editing/SplitThread.h"
#include "editing/TrackStreaming.h"
#include "project/AudioReaders.h"
#include "support/FakeDialogs.h"
#include "support/MalformedCorpus.h"

#include <gtest/gtest.h>

namespace
{
using MalformedCorpus::Entry;
using MalformedCorpus::nameOf;

const juce::StringArray audioKinds{ "wav", "aiff", "flac", "ogg" };

/** The frames at 44100 Hz that the audio a file really holds lasts, at the rate the program
    reads in its header: what split, merge and resampling write out of it at the most. */
juce::int64 framesAt44100 (const Entry& entry)
{
    juce::AudioFormatManager formats;
    formats.registerBasicFormats();
    const auto reader = AudioReaders::open (entry.file, formats);
    return reader != nullptr ? TrackStreaming::outputFrames (entry.frames, reader->sampleRate) : 0;
}

/** The filter run's file side, opened from here so that its worker runs on this thread. */
struct FilterRunFiles : public CFilters
{
    using CFilters::openInput;
    using CFilters::openOutput;
};
} // namespace

TEST (MalformedFiles, FilterRunReadsOnlyWhatTheFileHolds)
{
    FakeDialogs dialogs;
    const auto entries = MalformedCorpus::only (MalformedCorpus::make ({ "wav" }), { "wav" });
    ASSERT_GT (entries.size(), 200u);
    const auto out = freshFolder ("filtered").getChildFile ("out.wav");
    int opened = 0;

    for (const auto& entry : entries)
    {
        const MalformedCorpus::LeftAsFound leftAsFound (entry);
        out.deleteFile();
        FilterRunFiles run;

        if (! run.openInput (entry.file))
        {
            // The run itself says so in its words, and writes nothing.
            const auto alertsBefore = dialogs.alerts().size();
            CFilters().applyFilters (entry.file.getFullPathName().toRawUTF8(), out.getFullPathName().toRawUTF8(), -1,
                                     -1, true);
            const auto alerts = dialogs.alerts();
            ASSERT_EQ (alerts.size(), alertsBefore + 1) << nameOf (entry);
            EXPECT_EQ (alerts.back().message, "Error while opening input file") << nameOf (entry);
            EXPECT_FALSE (out.exists()) << nameOf (entry);
        }
        else
        {
            ++opened;
            EXPECT_LE (run.numSamples, entry.frames) << nameOf (entry);

            if (run.openOutput (out))
            {
                {
                    FiltersProgressThread worker (true, 50, 50, run.samples, run.numChannels, run.writer,
                                                  run.numSamples, nullptr);
                    worker.run();
                }
                run.writer = nullptr;
            }
        }
    }

    EXPECT_GT (opened, 100);
}

TEST (MalformedFiles, SplitWritesNoMoreThanTheSourceHolds)
{
    const auto entries = MalformedCorpus::only (MalformedCorpus::make ({ "wav", "aiff", "flac", "ogg" }), audioKinds);
    ASSERT_GT (entries.size(), 500u);
    const auto folder = freshFolder ("split");
    const auto start = folder.getChildFile ("start.wav");
    const auto end = folder.getChildFile ("end.wav");
    int succeeded = 0;

    for (const auto& entry : entries)
    {
        const MalformedCorpus::LeftAsFound leftAsFound (entry);

        // Cut at 0.05 s, and again past the end of any real audio of the corpus.
        for (const double seconds : { 0.05, 3.0 })
        {
            SplitThread worker (entry.file, seconds, start, end);
            worker.run();

            if (worker.success)
            {
                ++succeeded;
                // The start part in whole blocks up to the position, the end part with the rest of
                // the last block and one block more: at most three blocks beyond the audio.
                const auto frames = MalformedCorpus::wavFrames (start) + MalformedCorpus::wavFrames (end);
                EXPECT_LE (frames, framesAt44100 (entry) + 3 * 960) << nameOf (entry);
            }
        }
    }

    EXPECT_GT (succeeded, 300);
}

TEST (MalformedFiles, MergeWritesExactlyWhatBothSourcesHold)
{
    const auto entries = MalformedCorpus::only (MalformedCorpus::make ({ "wav", "aiff", "flac", "ogg" }), audioKinds);
    ASSERT_GT (entries.size(), 500u);
    const auto folder = freshFolder ("merge");
    const auto output = folder.getChildFile ("out.wav");
    const Entry* previous = &entries.back();
    int succeeded = 0;

    for (const auto& entry : entries)
    {
        const auto before = MalformedCorpus::fingerprint (entry.file);
        const auto beforePrevious = MalformedCorpus::fingerprint (previous->file);
        output.deleteFile();

        MergeThread worker (previous->file, entry.file, output);
        worker.run();

        if (worker.success)
        {
            ++succeeded;
            EXPECT_LE (MalformedCorpus::wavFrames (output), framesAt44100 (*previous) + framesAt44100 (entry))
                << nameOf (entry);
        }

        EXPECT_EQ (MalformedCorpus::fingerprint (entry.file), before) << nameOf (entry);
        EXPECT_EQ (MalformedCorpus::fingerprint (previous->file), beforePrevious) << nameOf (*previous);
        previous = &entry;
    }

    EXPECT_GT (succeeded, 200);
}

TEST (MalformedFiles, ResamplingWritesTheSourceSlowedAndOneBlockAtMost)
{
    const auto entries = MalformedCorpus::only (MalformedCorpus::make ({ "wav", "aiff", "flac", "ogg" }), audioKinds);
    ASSERT_GT (entries.size(), 500u);
    auto output = freshFolder ("resample").getChildFile ("out.wav");
    int succeeded = 0;

    for (const auto& entry : entries)
    {
        const MalformedCorpus::LeftAsFound leftAsFound (entry);
        output.deleteFile();
        auto input = entry.file;

        ResamplerThread worker (&input, &output, 0.74);
        worker.run();

        if (worker.success && output.existsAsFile())
        {
            ++succeeded;
            EXPECT_LE (MalformedCorpus::wavFrames (output),
                       (juce::int64) std::ceil ((double) framesAt44100 (entry) / 0.74) + 960)
                << nameOf (entry);
        }
    }

    // Most of the corpus is audio with one lie in it; files whose metadata claims more than the
    // file holds are refused whole.
    EXPECT_GT (succeeded, 280);
}
