// A stereo filter run on two threads, one per channel, writes the very bytes of a run on one,
// in either lane width, and keeps the progress, cancel and failure behaviour of the one-thread run.
#include "editing/LaneForm.h"

#include "FilterRunSupport.h"
#include "support/FakeDialogs.h"

#include <gtest/gtest.h>

#include <functional>

using namespace FilterRunSupport;

namespace
{
juce::File folderFor (const juce::String& test)
{
    auto folder = WavFiles::folder().getChildFile (test);
    folder.deleteRecursively();
    folder.createDirectory();
    return folder;
}

juce::MemoryBlock bytesOf (const juce::File& file)
{
    juce::MemoryBlock bytes;
    file.loadFileAsData (bytes);
    return bytes;
}

/** A 64-bit multiply-and-xor hash (FNV style) over the bytes of a file written by a run. */
juce::String fingerprintOf (const juce::File& file)
{
    const auto bytes = bytesOf (file);
    juce::uint64 hash = 1469598103934665603ull;

    for (size_t i = 0; i < bytes.getSize(); ++i)
    {
        hash ^= (juce::uint8) bytes[i];
        hash *= 1099511628211ull;
    }

    return juce::String::toHexString ((juce::int64) hash);
}

/** A 24-bit record at 48 kHz, with low bits that a run must not see. */
WavFiles::Audio deepRecord()
{
    auto deep = crackle (256 * 40 + 3, 48000.0);
    deep.bits = 24;

    for (auto& channel : deep.channels)
        for (auto& value : channel)
            value = value * 256 + 0x5a;

    return deep;
}

/** Runs the filters on one thread and on two, in every lane width the processor has, and hands
    each output to `check` with a line that names the way it was made. */
void inEveryWay (const juce::File& input, const juce::File& output, int denoise, int declick,
                 const std::function<void (const juce::File&, const juce::String&)>& check)
{
    for (auto form : LaneForms::availableForms())
    {
        for (int threads : { 1, 2 })
        {
            const ScopedLaneForm use (form);
            runFilters (input, output, denoise, declick, true, threads);
            check (output, juce::String (threads) + (threads == 1 ? " thread, " : " threads, ") +
                               (form == LaneForm::eightLanes ? "eight" : "four") + " lanes, denoise " +
                               juce::String (denoise) + ", declick " + juce::String (declick));
            output.deleteFile();
        }
    }
}

/** Every combination of threads and widths gives the bytes of one thread in four lanes. */
void expectTheSameBytesEveryWay (const juce::File& input, const juce::File& folder, int denoise, int declick)
{
    const auto output = folder.getChildFile ("out.wav");
    juce::MemoryBlock reference;

    {
        const ScopedLaneForm use (LaneForm::fourLanes);
        runFilters (input, output, denoise, declick, true, 1);
        reference = bytesOf (output);
    }

    ASSERT_GT (reference.getSize(), 44u);
    inEveryWay (input, output, denoise, declick,
                [&] (const juce::File& made, const juce::String& way)
                { EXPECT_TRUE (bytesOf (made) == reference) << way; });
}
} // namespace

TEST (FilterRunThreads, aStereoRunWritesTheSameBytesOnOneThreadAndOnTwoWithAnyFilters)
{
    FakeDialogs dialogs;
    const auto folder = folderFor ("threads-stereo");
    const auto input = folder.getChildFile ("crackle.wav");
    const auto audio = crackle (256 * 300 + 77);
    WavFiles::write (input, audio);

    for (auto settings : { std::make_pair (20, 50), std::make_pair (-1, 60), std::make_pair (10, -1),
                           std::make_pair (-1, -1), std::make_pair (0, 100) })
        expectTheSameBytesEveryWay (input, folder, settings.first, settings.second);

    // The run did change the sound.
    runFilters (input, folder.getChildFile ("check.wav"), 20, 50, true, 2);
    EXPECT_NE (WavFiles::read (folder.getChildFile ("check.wav")).channels[0],
               std::vector<int> (audio.channels[0].begin(), audio.channels[0].begin() + 256 * 300));
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST (FilterRunThreads, deepFilesOtherRatesMonoAndShortFilesGiveTheSameBytesOnTwoThreads)
{
    FakeDialogs dialogs;
    const auto folder = folderFor ("threads-kinds");

    const auto deep = deepRecord();
    auto mono = crackle (256 * 30 + 9);
    mono.channels.pop_back();

    auto three = crackle (256 * 20);
    three.channels.push_back (three.channels[0]);

    const std::pair<const char*, WavFiles::Audio> files[] = { { "deep.wav", deep },
                                                              { "mono.wav", mono },
                                                              { "three.wav", three },
                                                              { "short.wav", crackle (255) },
                                                              { "silent.wav",
                                                                WavFiles::tone (256 * 6, 44100.0, 440.0, 0.0) } };

    for (const auto& file : files)
    {
        SCOPED_TRACE (file.first);
        const auto input = folder.getChildFile (file.first);
        WavFiles::write (input, file.second);
        expectTheSameBytesEveryWay (input, folder, 15, 40);
    }

    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST (FilterRunThreads, inPlaceOnTwoThreadsTheFileBecomesWhatOneThreadWrites)
{
    FakeDialogs dialogs;
    const auto folder = folderFor ("threads-in-place");
    const auto file = folder.getChildFile ("same.wav");
    const auto elsewhere = folder.getChildFile ("elsewhere.wav");
    WavFiles::write (file, crackle (256 * 50));

    runFilters (file, elsewhere, 5, 30, true, 1);
    runFilters (file, file, 5, 30, true, 2);

    EXPECT_TRUE (bytesOf (file) == bytesOf (elsewhere));
}

TEST (FilterRunThreads, onTwoThreadsTheWorkerStopsAtTheBlockAfterAnExitRequest)
{
    const auto audio = crackle (256 * 400);
    auto samples = interleavedFloats (audio);
    auto oneThreadSamples = samples;

    KeepingWriter oneThreadWriter;
    FiltersProgressThread oneThread (true, 10, 10, oneThreadSamples.data(), 2, &oneThreadWriter, audio.frames());
    oneThread.threadsToUse = 1;
    oneThread.runThread (juce::Thread::Priority::normal);
    ASSERT_EQ (oneThreadWriter.calls, 400);

    KeepingWriter writer;
    writer.cancelAt = 5;
    StatusKeepingThread worker (false, 10, 10, samples.data(), 2, &writer, audio.frames());
    worker.threadsToUse = 2;
    writer.worker = &worker;
    worker.runThread (juce::Thread::Priority::normal);

    EXPECT_FALSE (worker.finished);
    EXPECT_EQ (writer.calls, 5);
    EXPECT_EQ (worker.shown, juce::StringArray ("Normalizing...", "Applying filters..."));

    for (int c = 0; c < 2; ++c)
    {
        ASSERT_EQ (writer.kept[c].size(), 5u * 256);
        EXPECT_EQ (writer.kept[c],
                   std::vector<int> (oneThreadWriter.kept[c].begin(), oneThreadWriter.kept[c].begin() + 5 * 256));
    }
}

TEST (FilterRunThreads, onTwoThreadsAFailingWriteEndsTheRunAsIfTheDataHadEnded)
{
    const auto audio = crackle (256 * 40);
    auto samples = interleavedFloats (audio);
    KeepingWriter writer;
    writer.failAt = 7;

    FiltersProgressThread worker (true, 30, 30, samples.data(), 2, &writer, audio.frames());
    worker.threadsToUse = 2;
    worker.runThread (juce::Thread::Priority::normal);

    EXPECT_TRUE (worker.finished);
    EXPECT_EQ (writer.calls, 7);
    EXPECT_EQ (writer.kept[0].size(), 6u * 256);
    EXPECT_EQ (writer.kept[1].size(), 6u * 256);
}

TEST (FilterRunThreads, onTwoThreadsACancelDuringTheNormalizingScanTakesEffectAtTheFirstBlock)
{
    const auto audio = crackle (256 * 40 + 1);
    auto samples = interleavedFloats (audio);
    float peak = 0.0f;

    for (float x : samples)
        peak = std::max (peak, std::abs (x));

    const auto before = samples;
    KeepingWriter writer;

    StatusKeepingThread worker (true, 10, 10, samples.data(), 2, &writer, audio.frames());
    worker.threadsToUse = 2;
    worker.exitAt = "Normalizing...";
    worker.runThread (juce::Thread::Priority::normal);

    // Both halves were scanned and divided; nothing was written.
    EXPECT_FALSE (worker.finished);
    EXPECT_EQ (writer.calls, 0);

    for (size_t i = 0; i < samples.size(); ++i)
        ASSERT_EQ (samples[i], before[i] / peak) << i;

    EXPECT_EQ (worker.shown, juce::StringArray ("Normalizing...", "Applying filters..."));
}

TEST (FilterRunThreads, onTwoThreadsCancelDeletesTheOutput)
{
    FakeDialogs dialogs;
    const auto folder = folderFor ("threads-cancel");
    const auto input = folder.getChildFile ("long.wav");
    const auto output = folder.getChildFile ("long-out.wav");
    WavFiles::write (input, crackle (44100 * 150));

    {
        WavFiles::CancelWhen cancel ([&] { return sizeWrittenBeside (output) > 200000; });
        runFilters (input, output, 20, 50, true, 2);
        EXPECT_TRUE (cancel.pressed);
        EXPECT_EQ (cancel.windowTitle, "Applying filters...");
    }

    EXPECT_FALSE (output.exists());
    EXPECT_EQ (filesLeftBeside (output), 0);
    EXPECT_TRUE (input.existsAsFile());
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST (FilterRunThreads, knownRecordsKeepTheirKnownOutputInEveryWay)
{
    // Fingerprints of what the one-thread, four-lane run wrote for these records, taken when the
    // run had no other form: every way of running must keep writing exactly these bytes.
    FakeDialogs dialogs;
    const auto folder = folderFor ("threads-known");
    const auto input = folder.getChildFile ("record.wav");
    const auto output = folder.getChildFile ("cleaned.wav");

    struct Known
    {
        int denoise, declick;
        const char* fingerprint;
    };

    WavFiles::write (input, crackle (256 * 500 + 77));
    const Known stereo[] = { { 20, 50, "892f27c4f339479e" },
                             { 0, 100, "b9e28fe3117ee820" },
                             { -1, -1, "6569fad62f592fbe" },
                             { 35, -1, "d1011e8e0c991b3b" },
                             { -1, 80, "51050cb5f4369447" } };

    int frames = 0;

    auto expectKnown = [&] (const Known& known)
    {
        inEveryWay (input, output, known.denoise, known.declick,
                    [&] (const juce::File& made, const juce::String& way)
                    {
                        EXPECT_EQ (fingerprintOf (made), juce::String (known.fingerprint)) << way;
                        frames = WavFiles::read (made).frames();
                    });
    };

    for (const auto& known : stereo)
        expectKnown (known);

    EXPECT_EQ (frames, 256 * 500);

    WavFiles::write (input, deepRecord());
    expectKnown ({ 15, 40, "abdd527656790759" });

    auto mono = crackle (256 * 30 + 9);
    mono.channels.pop_back();
    WavFiles::write (input, mono);
    expectKnown ({ 15, 40, "29fe6cfc002274c8" });

    EXPECT_TRUE (dialogs.alerts().empty());
}
