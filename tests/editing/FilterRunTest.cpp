// Filter runs on real files: load from 16 bits, normalize, declicker, denoiser, 0.8, whole blocks.
#include "editing/CFilters.h"
#include "editing/Declicker.h"
#include "editing/Denoiser.h"
#include "editing/FiltersProgressThread.h"

#include "FilterRunSupport.h"
#include "WavFiles.h"
#include "support/FakeDialogs.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>

using WavFiles::Audio;
using namespace FilterRunSupport;

namespace
{
/** What a run should write, worked out step by step from the file's top 16 bits. */
std::vector<std::vector<int>> expectedRun (const Audio& input, int denoise, int declick, bool declickFirst = true,
                                           double filterRate = 44100.0)
{
    const int shift = input.bits - 16;
    const int frames = input.frames();
    const int channels = (int) input.channels.size();
    std::vector<std::vector<float>> samples ((size_t) channels, std::vector<float> ((size_t) frames));
    float peak = 0.0f;

    for (int c = 0; c < channels; ++c)
    {
        for (int n = 0; n < frames; ++n)
        {
            const auto value = (short) (input.channels[(size_t) c][(size_t) n] >> shift);
            samples[(size_t) c][(size_t) n] = (1.0f / 0x7fff) * value;
            peak = std::max (peak, std::abs (samples[(size_t) c][(size_t) n]));
        }
    }

    const int blocks = frames / 256;
    std::vector<std::vector<int>> output ((size_t) channels, std::vector<int> ((size_t) blocks * 256));

    for (int c = 0; c < channels; ++c)
    {
        DeclickerState declicker;
        setupDeclicker (declicker, filterRate);
        declicker.threshold = (float) (2.0 - declick / 100.0);
        DenoiserState denoiser;
        setupDenoiser (denoiser, filterRate);
        denoiser.threshold = (float) (denoise / 100.0);

        for (int b = 0; b < blocks; ++b)
        {
            float block[256];

            for (int i = 0; i < 256; ++i)
                block[i] = samples[(size_t) c][(size_t) (b * 256 + i)] / peak;

            if (declickFirst)
            {
                if (declick != -1)
                    processDeclicker (declicker, block);
                if (denoise != -1)
                    processDenoiser (denoiser, block);
            }
            else
            {
                if (denoise != -1)
                    processDenoiser (denoiser, block);
                if (declick != -1)
                    processDeclicker (declicker, block);
            }

            for (int i = 0; i < 256; ++i)
            {
                const double scaled = 32767.0 * (block[i] * 0.800000011920929f);
                output[(size_t) c][(size_t) (b * 256 + i)] =
                    (short) juce::roundToInt (juce::jlimit (-32767.0, 32767.0, scaled));
            }
        }
    }

    return output;
}

/** A PCM WAV file of a depth that no writer of the program makes (7, 12, 20 bits...), each
    sample in whole bytes as the format stores it, left-justified. */
juce::File oddDepthWav (const juce::File& file, int bits, int channels, int frames)
{
    const int bytesPerSample = (bits + 7) / 8;
    const int blockAlign = bytesPerSample * channels;
    juce::MemoryOutputStream bytes;
    bytes.write ("RIFF", 4);
    bytes.writeInt (36 + frames * blockAlign);
    bytes.write ("WAVEfmt ", 8);
    bytes.writeInt (16);
    bytes.writeShort (1);
    bytes.writeShort ((short) channels);
    bytes.writeInt (44100);
    bytes.writeInt (44100 * blockAlign);
    bytes.writeShort ((short) blockAlign);
    bytes.writeShort ((short) bits);
    bytes.write ("data", 4);
    bytes.writeInt (frames * blockAlign);

    juce::Random random (bits);
    for (int n = 0; n < frames * channels; ++n)
    {
        const auto value = (juce::uint32) random.nextInt (1 << bits) << (8 * bytesPerSample - bits);
        for (int b = 0; b < bytesPerSample; ++b)
            bytes.writeByte ((char) (value >> (8 * b)));
    }

    file.replaceWithData (bytes.getData(), bytes.getDataSize());
    return file;
}

/** A 32-bit floating-point WAV file of these samples, one vector per channel. */
void writeFloatWav (const juce::File& file, const std::vector<std::vector<float>>& channels)
{
    file.deleteFile();
    juce::WavAudioFormat wav;
    std::unique_ptr<juce::AudioFormatWriter> writer (
        wav.createWriterFor (file.createOutputStream().release(), 44100.0, (unsigned int) channels.size(), 32, {}, 0));
    ASSERT_NE (writer, nullptr);
    ASSERT_TRUE (writer->isFloatingPoint());
    std::vector<const float*> pointers;
    for (const auto& channel : channels)
        pointers.push_back (channel.data());
    pointers.push_back (nullptr);
    writer->write (reinterpret_cast<const int**> (pointers.data()), (int) channels[0].size());
}

/** The samples of a floating-point WAV file; empty when it is not one. */
std::vector<std::vector<float>> readFloatWav (const juce::File& file)
{
    juce::WavAudioFormat wav;
    std::unique_ptr<juce::AudioFormatReader> reader (wav.createReaderFor (file.createInputStream().release(), true));
    if (reader == nullptr || ! reader->usesFloatingPointData)
        return {};

    juce::AudioBuffer<float> buffer ((int) reader->numChannels, (int) reader->lengthInSamples);
    reader->read (&buffer, 0, buffer.getNumSamples(), 0, true, true);
    std::vector<std::vector<float>> channels;
    for (int c = 0; c < buffer.getNumChannels(); ++c)
        channels.emplace_back (buffer.getReadPointer (c), buffer.getReadPointer (c) + buffer.getNumSamples());
    return channels;
}

} // namespace

TEST (FilterRun, inPlaceAFileOfADepthWithNoWriterKeepsTheTrackAndShowsTheOutputError)
{
    for (const int bits : { 7, 12, 20 })
    {
        for (const int channels : { 1, 2 })
        {
            SCOPED_TRACE (juce::String (bits) + " bits, " + juce::String (channels) + " channel(s)");
            FakeDialogs dialogs;
            const auto track = oddDepthWav (WavFiles::folder().getChildFile ("odd.wav"), bits, channels, 22050);
            juce::MemoryBlock before;
            ASSERT_TRUE (track.loadFileAsData (before));

            runFilters (track, track, 10, 10);

            const auto alerts = dialogs.alerts();
            ASSERT_EQ (alerts.size(), 1u);
            EXPECT_EQ (alerts[0].title, "Groove Smith : Error");
            // A 7-bit mono file is one that the reader itself refuses: its frames have no whole byte.
            if (bits == 7 && channels == 1)
                EXPECT_EQ (alerts[0].message, "Error while opening input file");
            else
                EXPECT_EQ (alerts[0].message, "Error while opening output file");
            juce::MemoryBlock after;
            ASSERT_TRUE (track.loadFileAsData (after));
            EXPECT_EQ (after, before) << "the track is as it was";
            EXPECT_EQ (WavFiles::folder().getNumberOfChildFiles (
                           juce::File::findFilesAndDirectories | juce::File::ignoreHiddenFiles, "*"),
                       1);
            EXPECT_EQ (WavFiles::folder().getNumberOfChildFiles (juce::File::findFilesAndDirectories, ".*"), 0)
                << "nothing is left beside it";
        }
    }
}

TEST (FilterRun, inPlaceFilesOf8And24BitsKeepTheirDepthAndAreFiltered)
{
    for (const int bits : { 8, 24 })
    {
        for (const int channels : { 1, 2 })
        {
            SCOPED_TRACE (juce::String (bits) + " bits, " + juce::String (channels) + " channel(s)");
            FakeDialogs dialogs;
            const auto track = WavFiles::folder().getChildFile ("track.wav");
            auto audio = crackle (256 * 12 + 100);
            audio.channels.resize ((size_t) channels);

            // The same sound at 16 bits, which is what the run works from.
            auto sixteen = audio;
            audio.bits = bits;
            for (auto& channel : audio.channels)
                for (auto& value : channel)
                    value = bits == 8 ? value >> 8 : value * 256 + 0x33;
            for (auto& channel : sixteen.channels)
                for (auto& value : channel)
                    value = bits == 8 ? (value >> 8) * 256 : value;
            WavFiles::write (track, audio);

            runFilters (track, track, 10, 30);

            EXPECT_TRUE (dialogs.alerts().empty());
            EXPECT_EQ (filesLeftBeside (track), 0);
            const auto result = WavFiles::read (track);
            ASSERT_EQ (result.bits, bits);
            ASSERT_EQ ((int) result.channels.size(), channels);
            ASSERT_EQ (result.frames(), 256 * 12);

            if (channels == 2)
            {
                const auto expected = expectedRun (sixteen, 10, 30);
                for (size_t c = 0; c < 2; ++c)
                    for (size_t n = 0; n < (size_t) result.frames(); ++n)
                        ASSERT_EQ (result.channels[c][n], bits == 8 ? expected[c][n] >> 8 : expected[c][n] * 256)
                            << c << " " << n;
            }
        }
    }
}

TEST (FilterRun, inPlaceAFloatingPointFileStaysOneAndIsFilteredFromTheSameSteps)
{
    for (const int channels : { 1, 2 })
    {
        SCOPED_TRACE (channels);
        FakeDialogs dialogs;
        const auto track = WavFiles::folder().getChildFile ("float.wav");
        const auto audio = crackle (256 * 10 + 30);

        // The floats that the 16-bit steps of the crackle stand for.
        std::vector<std::vector<float>> floats;
        for (int c = 0; c < channels; ++c)
        {
            floats.emplace_back();
            for (const int value : audio.channels[(size_t) c])
                floats.back().push_back ((float) value / 32767.0f);
        }
        writeFloatWav (track, floats);

        runFilters (track, track, 20, 20);

        EXPECT_TRUE (dialogs.alerts().empty());
        const auto result = readFloatWav (track);
        ASSERT_EQ ((int) result.size(), channels) << "still a floating-point file";
        ASSERT_EQ (result[0].size(), 256u * 10);

        if (channels == 2)
        {
            const auto expected = expectedRun (audio, 20, 20);
            for (size_t c = 0; c < 2; ++c)
                for (size_t n = 0; n < result[c].size(); ++n)
                    ASSERT_EQ (result[c][n], (float) expected[c][n] / 32767.0f) << c << " " << n;
        }
        else
        {
            // Floats on the scale of the file, at most the 0.8 of the run's last scaling.
            float loudest = 0.0f;
            for (const float value : result[0])
                loudest = std::max (loudest, std::abs (value));
            EXPECT_GT (loudest, 0.5f);
            EXPECT_LE (loudest, 0.8f);
        }
    }
}

TEST (FilterRun, withBothFiltersOffItStillNormalizesScalesByPointEightAndKeepsWholeBlocks)
{
    FakeDialogs dialogs;
    const auto input = WavFiles::folder().getChildFile ("in.wav");
    const auto output = WavFiles::folder().getChildFile ("out.wav");
    const auto audio = WavFiles::tone (1000, 44100.0, 440.0, 0.3);
    WavFiles::write (input, audio);

    runFilters (input, output, -1, -1, false);

    const auto result = WavFiles::read (output);
    EXPECT_TRUE (dialogs.alerts().empty());
    EXPECT_EQ (result.frames(), 768);
    EXPECT_EQ (result.rate, 44100.0);
    EXPECT_EQ (result.bits, 16);
    ASSERT_EQ (result.channels.size(), 2u);
    EXPECT_EQ (result.channels, expectedRun (audio, -1, -1));

    int loudest = 0;

    for (const auto& channel : result.channels)
        for (int value : channel)
            loudest = std::max (loudest, std::abs (value));

    EXPECT_EQ (loudest, 26214); // the peak, normalized to 1.0, times 0.8
}

TEST (FilterRun, declickerThenDenoiserThenScaleRunInThatOrder)
{
    FakeDialogs dialogs;
    const auto input = WavFiles::folder().getChildFile ("crackle.wav");
    const auto output = WavFiles::folder().getChildFile ("clean.wav");
    const auto audio = crackle (256 * 60 + 77);
    WavFiles::write (input, audio);

    runFilters (input, output, 10, 60);

    const auto result = WavFiles::read (output);
    EXPECT_EQ (result.frames(), 256 * 60);
    EXPECT_EQ (result.channels, expectedRun (audio, 10, 60));
    EXPECT_NE (result.channels, expectedRun (audio, 10, 60, false));
}

TEST (FilterRun, withBothFiltersOnTheSoundComes948FramesLate)
{
    FakeDialogs dialogs;
    const auto input = WavFiles::folder().getChildFile ("tone.wav");
    const auto output = WavFiles::folder().getChildFile ("late.wav");
    const auto audio = WavFiles::tone (256 * 20, 44100.0, 440.0, 0.5);
    WavFiles::write (input, audio);

    // Sensibility 0 finds no click in a tone, and threshold 0 gates nothing.
    runFilters (input, output, 0, 0);

    const auto result = WavFiles::read (output);
    ASSERT_EQ (result.frames(), 256 * 20);

    // Both channels share one divisor: the louder channel's peak.
    int peak = 0;

    for (const auto& channel : audio.channels)
        for (int value : channel)
            peak = std::max (peak, std::abs (value));

    const double scale = 0.8 * 32767.0 / peak;

    // The denoiser's empty rings come first; the declicker takes the tone's onset out of
    // silence for a click and ramps it, after which the file follows 948 frames late.
    for (size_t c = 0; c < 2; ++c)
    {
        for (int n = 0; n < 896; ++n)
            ASSERT_LE (std::abs (result.channels[c][(size_t) n]), 1) << n;

        for (int n = 948 + 256; n < result.frames(); ++n)
            ASSERT_NEAR (result.channels[c][(size_t) n], audio.channels[c][(size_t) n - 948] * scale, 2.0) << n;
    }
}

TEST (FilterRun, inputAndOutputMayBeTheSameFile)
{
    FakeDialogs dialogs;
    const auto file = WavFiles::folder().getChildFile ("same.wav");
    const auto audio = crackle (256 * 10);
    WavFiles::write (file, audio);

    runFilters (file, file, 5, -1);

    EXPECT_EQ (WavFiles::read (file).channels, expectedRun (audio, 5, -1));
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST (FilterRun, aFileShorterThanOneBlockGivesAWavWithNoFrames)
{
    FakeDialogs dialogs;
    const auto input = WavFiles::folder().getChildFile ("short.wav");
    const auto output = WavFiles::folder().getChildFile ("short-out.wav");
    WavFiles::write (input, WavFiles::tone (255));

    runFilters (input, output, 20, 20);

    ASSERT_TRUE (output.existsAsFile());
    const auto result = WavFiles::read (output);
    EXPECT_EQ (result.frames(), 0);
    EXPECT_EQ (result.channels.size(), 2u);
}

TEST (FilterRun, aDeeperFileIsProcessedFromItsTop16BitsAndKeepsItsDepth)
{
    FakeDialogs dialogs;
    const auto input = WavFiles::folder().getChildFile ("deep.wav");
    const auto output = WavFiles::folder().getChildFile ("deep-out.wav");
    auto audio = WavFiles::tone (256 * 8 + 10);
    audio.bits = 24;

    for (auto& channel : audio.channels)
        for (auto& value : channel)
            value = value * 256 + 0x5a; // low bits the run must not see

    WavFiles::write (input, audio);
    runFilters (input, output, 30, 40);

    const auto result = WavFiles::read (output);
    EXPECT_EQ (result.bits, 24);
    ASSERT_EQ (result.frames(), 256 * 8);
    const auto expected = expectedRun (audio, 30, 40);

    for (size_t c = 0; c < 2; ++c)
    {
        for (size_t n = 0; n < result.channels[c].size(); ++n)
        {
            ASSERT_EQ (result.channels[c][n] & 0xff, 0) << n;
            ASSERT_EQ (result.channels[c][n] >> 8, expected[c][n]) << n;
        }
    }
}

TEST (FilterRun, aFileAt48kHzKeepsItsRateWhileTheFiltersWorkAsAt44100)
{
    FakeDialogs dialogs;
    const auto input = WavFiles::folder().getChildFile ("48k.wav");
    const auto output = WavFiles::folder().getChildFile ("48k-out.wav");

    // Clicks of a height that the declicker finds with its 44100 Hz time constants but not
    // with those of 48000 Hz, or the other way round: the two rates give different files.
    Audio audio;
    for (int height = 1500; height <= 20000 && audio.channels.empty(); height += 500)
    {
        auto candidate = WavFiles::tone (256 * 30, 48000.0, 330.0, 0.4);
        for (auto& channel : candidate.channels)
            for (int n = 100; n < candidate.frames(); n += 1201)
                channel[(size_t) n] = juce::jlimit (-32768, 32767, channel[(size_t) n] + height);

        if (expectedRun (candidate, 10, 70) != expectedRun (candidate, 10, 70, true, 48000.0))
            audio = candidate;
    }
    ASSERT_FALSE (audio.channels.empty()) << "no click height tells the two rates apart";
    WavFiles::write (input, audio);

    runFilters (input, output, 10, 70);

    const auto result = WavFiles::read (output);
    EXPECT_EQ (result.rate, 48000.0);
    EXPECT_EQ (result.channels, expectedRun (audio, 10, 70));
}

TEST (FilterRun, theFilesMetadataIsHandedOnToTheOutputAsItWas)
{
    FakeDialogs dialogs;
    auto audio = crackle (256 * 12);
    audio.metadata.set (juce::WavAudioFormat::bwavDescription, "Side A, take 2");
    audio.metadata.set (juce::WavAudioFormat::bwavOriginator, "Groove Smith tests");
    audio.metadata.set (juce::WavAudioFormat::riffInfoTitle, "Blue Train");
    audio.metadata.set (juce::WavAudioFormat::riffInfoArtist, "John Coltrane");

    const auto input = WavFiles::folder().getChildFile ("tagged.wav");
    const auto output = WavFiles::folder().getChildFile ("tagged-out.wav");
    WavFiles::write (input, audio);
    const auto given = WavFiles::read (input).metadata;
    ASSERT_EQ (given[juce::WavAudioFormat::riffInfoTitle], "Blue Train");

    // To another file, and in place.
    runFilters (input, output, 10, 40);
    runFilters (input, input, 10, 40);

    for (const auto& file : { output, input })
    {
        const auto result = WavFiles::read (file);
        EXPECT_EQ (result.channels, expectedRun (audio, 10, 40)) << file.getFileName();
        EXPECT_EQ (result.metadata, given) << file.getFileName() << ": " << result.metadata.getDescription();

        // The chunks themselves, as any reader of the file would find them.
        juce::MemoryBlock bytes;
        ASSERT_TRUE (file.loadFileAsData (bytes));
        const std::string raw (static_cast<const char*> (bytes.getData()), bytes.getSize());
        for (const char* text : { "bext", "Side A, take 2", "LIST", "INFO", "INAM", "Blue Train", "John Coltrane" })
            EXPECT_NE (raw.find (text), std::string::npos) << file.getFileName() << " lacks " << text;
    }

    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST (FilterRun, aMonoFileGoesThroughAsPairsAndComesOutInHalfBlocksOfSoundAndSilence)
{
    FakeDialogs dialogs;
    const auto input = WavFiles::folder().getChildFile ("mono.wav");
    const auto output = WavFiles::folder().getChildFile ("mono-out.wav");
    auto audio = WavFiles::tone (256 * 4 + 30);
    audio.channels.pop_back();
    WavFiles::write (input, audio);

    runFilters (input, output, -1, -1);

    const auto result = WavFiles::read (output);
    ASSERT_EQ (result.channels.size(), 1u);
    ASSERT_EQ (result.frames(), 256 * 4);

    // Only the first half of the frames is loaded, each as a pair with an empty right side; the
    // mono block then yields 128 frames of sound and 128 of silence.
    float peak = 0.0f;

    for (int n = 0; n < audio.frames() / 2; ++n)
        peak = std::max (peak, std::abs ((1.0f / 0x7fff) * (short) audio.channels[0][(size_t) n]));

    for (int b = 0; b < 4; ++b)
    {
        for (int i = 0; i < 128; ++i)
        {
            const float value = (1.0f / 0x7fff) * (short) audio.channels[0][(size_t) (b * 128 + i)];
            const int expected = (short) juce::roundToInt (
                juce::jlimit (-32767.0, 32767.0, 32767.0 * (value / peak * 0.800000011920929f)));
            ASSERT_EQ (result.channels[0][(size_t) (b * 256 + i)], expected) << b << " " << i;
            ASSERT_EQ (result.channels[0][(size_t) (b * 256 + 128 + i)], 0) << b << " " << i;
        }
    }
}

TEST (FilterRun, aSilentFileIsDividedByZeroAndWrittenAsTheConversionMakesIt)
{
    FakeDialogs dialogs;
    const auto input = WavFiles::folder().getChildFile ("silent.wav");
    const auto output = WavFiles::folder().getChildFile ("silent-out.wav");
    auto audio = WavFiles::tone (600, 44100.0, 440.0, 0.0);
    WavFiles::write (input, audio);

    runFilters (input, output, -1, -1);

    const float nan = std::nanf ("");
    juce::int16 converted = 0;
    JUCE_BEGIN_IGNORE_WARNINGS_GCC_LIKE ("-Wdeprecated-declarations")
    juce::AudioDataConverters::convertFloatToInt16LE (&nan, &converted, 1, 2);
    JUCE_END_IGNORE_WARNINGS_GCC_LIKE

    const auto result = WavFiles::read (output);
    ASSERT_EQ (result.frames(), 512);

    for (const auto& channel : result.channels)
        for (int value : channel)
            ASSERT_EQ (value, converted);
}

TEST (FilterRun, aMissingOrForeignInputShowsTheInputErrorAndWritesNothing)
{
    FakeDialogs dialogs;
    const auto output = WavFiles::folder().getChildFile ("never.wav");
    const auto text = WavFiles::folder().getChildFile ("notes.wav");
    text.replaceWithText ("not audio at all");

    runFilters (WavFiles::folder().getChildFile ("missing.wav"), output, 10, 10);
    runFilters (text, output, 10, 10);

    const auto alerts = dialogs.alerts();
    ASSERT_EQ (alerts.size(), 2u);

    for (const auto& alert : alerts)
    {
        EXPECT_EQ (alert.title, "Groove Smith : Error");
        EXPECT_EQ (alert.message, "Error while opening input file");
        EXPECT_EQ (alert.buttons, juce::StringArray ("ok"));
        EXPECT_EQ (alert.icon, juce::MessageBoxIconType::WarningIcon);
    }

    EXPECT_FALSE (output.exists());
}

TEST (FilterRun, anOutputThatCannotBeOpenedShowsTheOutputError)
{
    FakeDialogs dialogs;
    const auto input = WavFiles::folder().getChildFile ("fine.wav");
    WavFiles::write (input, WavFiles::tone (2000));
    const auto output = WavFiles::folder().getChildFile ("no-such-folder").getChildFile ("out.wav");

    runFilters (input, output, 10, 10);

    const auto alerts = dialogs.alerts();
    ASSERT_EQ (alerts.size(), 1u);
    EXPECT_EQ (alerts[0].message, "Error while opening output file");
    EXPECT_FALSE (output.exists());
    EXPECT_TRUE (input.existsAsFile());
}

TEST (FilterRun, cancelDeletesTheOutputAndInPlaceTheFileItself)
{
    FakeDialogs dialogs;
    const auto input = WavFiles::folder().getChildFile ("long.wav");
    const auto output = WavFiles::folder().getChildFile ("long-out.wav");
    const auto audio = crackle (44100 * 150);
    WavFiles::write (input, audio);

    {
        WavFiles::CancelWhen cancel ([&] { return sizeWrittenBeside (output) > 200000; });
        runFilters (input, output, 20, 50);
        EXPECT_TRUE (cancel.pressed);
        EXPECT_EQ (cancel.windowTitle, "Applying filters...");
    }

    EXPECT_FALSE (output.exists());
    EXPECT_EQ (filesLeftBeside (output), 0);
    EXPECT_TRUE (input.existsAsFile());

    {
        WavFiles::CancelWhen cancel ([&] { return sizeWrittenBeside (input) > 200000; });
        runFilters (input, input, 20, 50);
        EXPECT_TRUE (cancel.pressed);
    }

    EXPECT_FALSE (input.exists());
    EXPECT_EQ (filesLeftBeside (input), 0);
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST (FilterRun, theWorkerShowsItsStagesAndStopsAtTheBlockAfterAnExitRequest)
{
    auto audio = crackle (256 * 40);
    auto samples = interleavedFloats (audio);
    KeepingWriter writer;
    writer.cancelAt = 5;

    StatusKeepingThread worker (false, 10, 10, samples.data(), 2, &writer, audio.frames());
    writer.worker = &worker;
    EXPECT_TRUE (worker.normalize);
    EXPECT_EQ (worker.getAlertWindow()->getName(), "Applying filters...");

    worker.runThread (juce::Thread::Priority::normal);

    EXPECT_FALSE (worker.finished);
    EXPECT_EQ (writer.calls, 5);
    EXPECT_EQ (writer.kept[0].size(), 5u * 256);
    EXPECT_EQ (worker.shown, juce::StringArray ("Normalizing...", "Applying filters..."));
}

TEST (FilterRun, aFailingWriteEndsTheRunAsIfTheDataHadEnded)
{
    auto audio = crackle (256 * 40);
    auto samples = interleavedFloats (audio);
    KeepingWriter writer;
    writer.failAt = 7;

    FiltersProgressThread worker (true, -1, -1, samples.data(), 2, &writer, audio.frames());
    worker.runThread (juce::Thread::Priority::normal);

    EXPECT_TRUE (worker.finished);
    EXPECT_EQ (writer.calls, 7);
    EXPECT_EQ (writer.kept[0].size(), 6u * 256);
}

TEST (FilterRun, aCancelDuringTheNormalizingScanTakesEffectAtTheFirstBlock)
{
    auto audio = crackle (256 * 40);
    auto samples = interleavedFloats (audio);
    float peak = 0.0f;

    for (float x : samples)
        peak = std::max (peak, std::abs (x));

    const float first = samples[0];
    KeepingWriter writer;

    StatusKeepingThread worker (true, 10, 10, samples.data(), 2, &writer, audio.frames());
    worker.exitAt = "Normalizing...";
    worker.runThread (juce::Thread::Priority::normal);

    // The scan and the division still ran; nothing was written.
    EXPECT_FALSE (worker.finished);
    EXPECT_EQ (writer.calls, 0);
    EXPECT_EQ (samples[0], first / peak);
    EXPECT_EQ (worker.shown, juce::StringArray ("Normalizing...", "Applying filters..."));
}
