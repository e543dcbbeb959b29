// Binding the MP3 encoder library for each track, and what the MP3 convertor asks of it: the
// settings, the chunks of samples, the flush, and the failures. A stand-in library, built by the
// tests with LAME's interface, writes down every call.
#include "encoding/AudioFiles.h"
#include "encoding/Mp3LameConvertor.h"
#include "project/Project.h"
#include "support/FakeDialogs.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>

using namespace audiofiles;

namespace
{
const juce::File standIn (GROOVESMITH_FAKE_LAME);
const juce::File standInWithoutTagWriter (GROOVESMITH_FAKE_LAME_WITHOUT_TAG_WRITER);

/** The chunk of the stand-in: two of its 1152-sample frames. */
constexpr int chunk = 2304;

class LameBindingTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE (standIn.existsAsFile());
        ASSERT_TRUE (standInWithoutTagWriter.existsAsFile());
        setenv ("GROOVESMITH_FAKE_LAME_LOG", log.getFullPathName().toRawUTF8(), 1);
        setenv ("GROOVESMITH_FAKE_LAME_PCM", pcm.getFullPathName().toRawUTF8(), 1);
        project.lameLibrary = standIn;
        project.lameVbr = true;
        project.lameQuality = 2;
    }

    void TearDown() override
    {
        for (const auto* name : { "GROOVESMITH_FAKE_LAME_LOG", "GROOVESMITH_FAKE_LAME_PCM",
                                  "GROOVESMITH_FAKE_LAME_FAIL_AT", "GROOVESMITH_FAKE_LAME_REFUSE" })
            unsetenv (name);
        LameLibrary::unbind();
    }

    juce::File makeWav (const juce::String& name, int channels, int length, int bits = 16, double rate = 44100.0)
    {
        const auto file = folder.getChildFile (name);
        writeAudio (file, rate, bits, makeSignal (channels, length, bits));
        return file;
    }

    bool convert (const juce::File& source, const juce::File& destination)
    {
        Mp3LameConvertor convertor;
        return convertor.convert (source.getFullPathName(), destination.getFullPathName(), &project);
    }

    /** The stand-in's calls, "name value" each. */
    juce::StringArray calls() const
    {
        juce::StringArray lines;
        if (log.existsAsFile())
            lines.addLines (log.loadFileAsString().trimEnd());
        return lines;
    }

    juce::StringArray callsNamed (const juce::String& name) const
    {
        juce::StringArray found;
        for (const auto& line : calls())
            if (line.startsWith (name + " "))
                found.add (line);
        return found;
    }

    /** The samples the stand-in was handed, left and right. */
    Channels handedOver() const
    {
        juce::MemoryBlock data;
        pcm.loadFileAsData (data);
        const auto* values = static_cast<const juce::int16*> (data.getData());
        const auto frames = data.getSize() / 4;
        Channels samples (2, std::vector<int> (frames));
        for (size_t i = 0; i < frames; ++i)
        {
            samples[0][i] = values[2 * i];
            samples[1][i] = values[2 * i + 1];
        }
        return samples;
    }

    static Channels paddedWithSilence (Channels samples, size_t length)
    {
        for (auto& channel : samples)
            channel.resize (length, 0);
        return samples;
    }

    FakeDialogs dialogs;
    Project project;
    juce::File folder = freshFolder ("lame-binding");
    juce::File log = folder.getChildFile ("calls.txt");
    juce::File pcm = folder.getChildFile ("samples.raw");
};
} // namespace

TEST_F (LameBindingTest, theStandInWithEveryEntryPointBindsAndReleases)
{
    ASSERT_TRUE (LameLibrary::bindLame (standIn));

    EXPECT_TRUE (LameLibrary::isBound());
    EXPECT_NE (LameLibrary::beInitStream, nullptr);
    EXPECT_NE (LameLibrary::beEncodeChunk, nullptr);
    EXPECT_NE (LameLibrary::beDeinitStream, nullptr);
    EXPECT_NE (LameLibrary::beCloseStream, nullptr);
    EXPECT_NE (LameLibrary::beWriteInfoTag, nullptr);

    LameLibrary::unbind();

    EXPECT_FALSE (LameLibrary::isBound());
    EXPECT_EQ (LameLibrary::beInitStream, nullptr);
    EXPECT_EQ (LameLibrary::beEncodeChunk, nullptr);
    EXPECT_EQ (LameLibrary::beDeinitStream, nullptr);
    EXPECT_EQ (LameLibrary::beCloseStream, nullptr);
    EXPECT_EQ (LameLibrary::beWriteInfoTag, nullptr);
    EXPECT_TRUE (calls().isEmpty()) << "binding alone calls nothing in the library";
}

TEST_F (LameBindingTest, theEntryPointsLookedUpAreLamesOwnAndIncludeTheVbrHeaderWriter)
{
    const auto names = LameLibrary::entryPointNames();
    EXPECT_EQ (names.size(), 23);
    for (const auto& name : names)
        EXPECT_TRUE (name.startsWith ("lame_")) << name;
    EXPECT_TRUE (names.contains ("lame_mp3_tags_fid"));
    EXPECT_TRUE (names.contains ("lame_encode_buffer_interleaved"));
    EXPECT_TRUE (names.contains ("lame_encode_flush"));
    EXPECT_TRUE (names.contains ("lame_close"));
}

TEST_F (LameBindingTest, aLibraryWithoutTheVbrHeaderWriterCountsAsNoLibraryAtAll)
{
    EXPECT_FALSE (LameLibrary::bindLame (standInWithoutTagWriter));
    EXPECT_FALSE (LameLibrary::isBound());
    EXPECT_EQ (LameLibrary::beInitStream, nullptr);

    const auto source = makeWav ("Track1.wav", 2, 10000);
    const auto destination = folder.getChildFile ("Track1.mp3");
    project.lameLibrary = standInWithoutTagWriter;

    EXPECT_FALSE (convert (source, destination));

    EXPECT_FALSE (LameLibrary::isBound());
    EXPECT_TRUE (calls().isEmpty()) << calls().joinIntoString ("\n");
    EXPECT_TRUE (source.existsAsFile());
    EXPECT_EQ (readAudio (source).length, 10000);
    // The run opens the destination before it finds that it has nothing to encode with.
    EXPECT_TRUE (destination.existsAsFile());
    EXPECT_EQ (destination.getSize(), 0);
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (LameBindingTest, aChosenFileThatIsNoLibraryCountsAsNoLibrary)
{
    const auto notALibrary = folder.getChildFile ("libmp3lame.so.0");
    ASSERT_TRUE (notALibrary.replaceWithText ("These are the liner notes, not an encoder.\n"));
    const auto notes = notALibrary.loadFileAsString();
    const auto source = makeWav ("Track1.wav", 2, 10000);
    const auto destination = folder.getChildFile ("Track1.mp3");
    project.lameLibrary = notALibrary;

    EXPECT_FALSE (LameLibrary::bindLame (notALibrary));
    EXPECT_FALSE (convert (source, destination));

    EXPECT_FALSE (LameLibrary::isBound());
    EXPECT_TRUE (source.existsAsFile());
    EXPECT_EQ (readAudio (source).length, 10000);
    EXPECT_EQ (notALibrary.loadFileAsString(), notes);
    EXPECT_EQ (destination.getSize(), 0);
    EXPECT_TRUE (dialogs.alerts().empty());
}

TEST_F (LameBindingTest, aLibraryOfAnotherKindCountsAsNoLibrary)
{
    // The Ogg library, which the program's own Ogg Vorbis writer uses: a real library, but no encoder.
    juce::File other;
    for (const auto* place : { "/usr/lib/x86_64-linux-gnu", "/usr/lib/aarch64-linux-gnu", "/usr/lib64", "/usr/lib" })
        if (juce::File (place).getChildFile ("libogg.so.0").existsAsFile())
            other = juce::File (place).getChildFile ("libogg.so.0");
    ASSERT_TRUE (other.existsAsFile()) << "libogg.so.0 is missing: install the Debian package libogg-dev";

    const auto source = makeWav ("Track1.wav", 2, 10000);
    const auto destination = folder.getChildFile ("Track1.mp3");
    project.lameLibrary = other;

    EXPECT_FALSE (LameLibrary::bindLame (other));
    EXPECT_FALSE (convert (source, destination));

    EXPECT_FALSE (LameLibrary::isBound());
    EXPECT_TRUE (source.existsAsFile());
    EXPECT_EQ (destination.getSize(), 0);
}

TEST_F (LameBindingTest, aLibraryThatIsNotThereOrIsAFolderCountsAsNoLibrary)
{
    EXPECT_FALSE (LameLibrary::bindLame (folder.getChildFile ("libmp3lame.so.0")));
    EXPECT_FALSE (LameLibrary::bindLame (folder));
    EXPECT_FALSE (LameLibrary::bindLame (juce::File()));
    EXPECT_FALSE (LameLibrary::isBound());

    project.lameLibrary = folder.getChildFile ("lame_enc.dll");
    EXPECT_FALSE (convert (makeWav ("Track1.wav", 2, 1000), folder.getChildFile ("Track1.mp3")));
}

//==============================================================================
TEST_F (LameBindingTest, theSettingsRecordOfEachEntryOfTheQualityList)
{
    struct Row
    {
        bool vbr;
        int quality;
        juce::uint32 bitrate;
        int vbrQuality;
        const char* fragment;
    };

    // "2 - recommended", "0 - best quality" (id 10), "9 - smaller file", "1",
    // "192kbps - recommended", "320kbps - best quality", "128kbps - cd quality", "256kbps".
    for (const auto& row :
         { Row{ true, 2, 192, 2, " -V2 " }, Row{ true, 10, 192, 0, " -V0 " }, Row{ true, 9, 192, 9, " -V9 " },
           Row{ true, 1, 192, 1, " -V1 " }, Row{ false, 192, 192, 0, " -b192 " }, Row{ false, 320, 320, 0, " -b320 " },
           Row{ false, 128, 128, 0, " -b128 " }, Row{ false, 256, 256, 0, " -b256 " } })
    {
        SCOPED_TRACE (row.fragment);
        const auto config = Mp3LameConvertorThread::configFor (48000.0, row.vbr, row.quality);

        BE_CONFIG expected;
        std::memset (&expected, 0, sizeof (expected));
        expected.dwConfig = 256;
        auto& lhv1 = expected.format.LHV1;
        lhv1.dwStructVersion = 1;
        lhv1.dwStructSize = 331;
        lhv1.dwSampleRate = 48000;
        lhv1.dwReSampleRate = 44100;
        lhv1.nMode = 1;
        lhv1.dwBitrate = row.bitrate;
        lhv1.nPreset = 4;
        lhv1.bOriginal = 1;
        lhv1.bWriteVBRHeader = 1;
        lhv1.bEnableVBR = row.vbr ? 1 : 0;
        lhv1.nVBRQuality = row.vbrQuality;
        lhv1.bNoRes = 1;

        // Byte for byte: every field not named above, and the reserved tail, stay 0.
        EXPECT_EQ (std::memcmp (&config, &expected, sizeof (BE_CONFIG)), 0);
        EXPECT_EQ (config.format.LHV1.dwBitrate, row.bitrate);
        EXPECT_EQ (config.format.LHV1.nVBRQuality, row.vbrQuality);
        EXPECT_EQ (config.format.LHV1.bEnableVBR, row.vbr ? 1 : 0);

        project.lameVbr = row.vbr;
        project.lameQuality = row.quality;
        EXPECT_EQ (project.lameArguments(), row.fragment);
    }

    EXPECT_EQ (sizeof (BE_CONFIG), 331u);
    EXPECT_EQ (offsetof (BE_CONFIG, format), 4u);
}

TEST_F (LameBindingTest, theRateOfTheSourceIsCutToAWholeNumber)
{
    EXPECT_EQ (Mp3LameConvertorThread::configFor (22050.9, true, 2).format.LHV1.dwSampleRate, 22050u);
    EXPECT_EQ (Mp3LameConvertorThread::configFor (96000.0, false, 128).format.LHV1.dwSampleRate, 96000u);
}

TEST_F (LameBindingTest, theEncoderIsGivenTheSourcesRateAndTheSettingsOfVbrLevelTwo)
{
    const auto source = makeWav ("Fast.wav", 2, 3000, 16, 48000.0);

    ASSERT_TRUE (convert (source, folder.getChildFile ("Fast.mp3")));

    const juce::StringArray expected{ "lame_init 0",
                                      "lame_set_in_samplerate 48000",
                                      "lame_set_out_samplerate 44100",
                                      "lame_set_num_channels 2",
                                      "lame_set_mode 1",
                                      "lame_set_VBR 4",
                                      "lame_set_VBR_q 2",
                                      "lame_set_copyright 0",
                                      "lame_set_original 1",
                                      "lame_set_error_protection 0",
                                      "lame_set_extension 0",
                                      "lame_set_strict_ISO 0",
                                      "lame_set_emphasis 0",
                                      "lame_set_disable_reservoir 1",
                                      "lame_set_bWriteVbrTag 1",
                                      "lame_init_params 0" };
    const auto all = calls();
    EXPECT_EQ (juce::StringArray (all.begin(), expected.size()).joinIntoString ("\n"), expected.joinIntoString ("\n"));
    EXPECT_TRUE (callsNamed ("lame_set_brate").isEmpty()) << "a VBR stream has no constant rate";
}

TEST_F (LameBindingTest, theEncoderIsGivenTheConstantRateInCbrAndLevelZeroForTheBestEntry)
{
    const auto source = makeWav ("Track.wav", 2, 3000);

    project.lameVbr = false;
    project.lameQuality = 320;
    ASSERT_TRUE (convert (source, folder.getChildFile ("Cbr.mp3")));
    EXPECT_EQ (callsNamed ("lame_set_VBR"), juce::StringArray ("lame_set_VBR 0"));
    EXPECT_EQ (callsNamed ("lame_set_brate"), juce::StringArray ("lame_set_brate 320"));
    EXPECT_EQ (callsNamed ("lame_set_in_samplerate"), juce::StringArray ("lame_set_in_samplerate 44100"));
    EXPECT_EQ (callsNamed ("lame_set_disable_reservoir"), juce::StringArray ("lame_set_disable_reservoir 1"));
    EXPECT_EQ (callsNamed ("lame_set_bWriteVbrTag"), juce::StringArray ("lame_set_bWriteVbrTag 1"));

    log.deleteFile();
    project.lameVbr = true;
    project.lameQuality = 10;
    ASSERT_TRUE (convert (source, folder.getChildFile ("Best.mp3")));
    EXPECT_EQ (callsNamed ("lame_set_VBR"), juce::StringArray ("lame_set_VBR 4"));
    EXPECT_EQ (callsNamed ("lame_set_VBR_q"), juce::StringArray ("lame_set_VBR_q 0"));
}

//==============================================================================
TEST_F (LameBindingTest, aSourceShorterThanOneChunkStillGivesOneWholeChunkPaddedWithSilence)
{
    const auto signal = makeSignal (2, 1000, 16);
    const auto source = folder.getChildFile ("Short.wav");
    writeAudio (source, 44100.0, 16, signal);
    const auto destination = folder.getChildFile ("Short.mp3");

    ASSERT_TRUE (convert (source, destination));

    EXPECT_EQ (callsNamed ("lame_encode_buffer_interleaved"),
               juce::StringArray ("lame_encode_buffer_interleaved " + juce::String (chunk)));
    EXPECT_EQ ("", difference (paddedWithSilence (signal, chunk), handedOver()));
    EXPECT_EQ (callsNamed ("lame_encode_flush").size(), 1);
    // One chunk of the stand-in's bytes, then its flush.
    EXPECT_EQ (destination.loadFileAsString(), juce::String::repeatedString ("C", 100) + "FFFFFFFFFF");
}

TEST_F (LameBindingTest, theLastOfSeveralChunksIsAWholeOnePaddedWithSilence)
{
    const auto signal = makeSignal (2, 2 * chunk + 5, 16, 3);
    const auto source = folder.getChildFile ("Three.wav");
    writeAudio (source, 44100.0, 16, signal);
    const auto destination = folder.getChildFile ("Three.mp3");

    ASSERT_TRUE (convert (source, destination));

    EXPECT_EQ (callsNamed ("lame_encode_buffer_interleaved").size(), 3);
    for (const auto& call : callsNamed ("lame_encode_buffer_interleaved"))
        EXPECT_EQ (call, "lame_encode_buffer_interleaved " + juce::String (chunk));
    EXPECT_EQ ("", difference (paddedWithSilence (signal, 3 * chunk), handedOver()));
    EXPECT_EQ (destination.getSize(), 3 * 100 + 10);
}

TEST_F (LameBindingTest, aMonoWavIsHandedOverAsTwoEqualChannels)
{
    const auto signal = makeSignal (1, 3000, 16, 5);
    const auto source = folder.getChildFile ("Mono.wav");
    writeAudio (source, 44100.0, 16, signal);

    ASSERT_TRUE (convert (source, folder.getChildFile ("Mono.mp3")));

    const auto padded = paddedWithSilence (signal, 2 * chunk)[0];
    EXPECT_EQ ("", difference ({ padded, padded }, handedOver()));
    EXPECT_EQ (callsNamed ("lame_set_mode"), juce::StringArray ("lame_set_mode 1"));
    EXPECT_EQ (callsNamed ("lame_set_num_channels"), juce::StringArray ("lame_set_num_channels 2"));
}

TEST_F (LameBindingTest, aTwentyFourBitWavGivesItsUpperSixteenBits)
{
    const auto signal = makeSignal (2, 3000, 24, 6);
    const auto source = folder.getChildFile ("Deep.wav");
    writeAudio (source, 44100.0, 24, signal);

    ASSERT_TRUE (convert (source, folder.getChildFile ("Deep.mp3")));

    EXPECT_EQ ("", difference (paddedWithSilence (reducedTo (signal, 24, 16), 2 * chunk), handedOver()));
}

TEST_F (LameBindingTest, aFloatWavIsScaledToSixteenBitsAndAMonoOneFillsBothChannels)
{
    for (const int channels : { 2, 1 })
    {
        SCOPED_TRACE (channels);
        pcm.deleteFile();

        juce::AudioBuffer<float> buffer (channels, 3000);
        Channels expected (2, std::vector<int> (2 * chunk, 0));
        for (int c = 0; c < channels; ++c)
            for (int i = 0; i < 3000; ++i)
            {
                // Past full scale at the peaks: those are clipped.
                const auto value = (float) (1.2 * std::sin (0.01 * (i + 1) * (c + 1)));
                buffer.setSample (c, i, value);
                const auto converted = juce::roundToInt (juce::jlimit (-32767.0, 32767.0, 32767.0 * value));
                expected[(size_t) c][(size_t) i] = converted;
                if (channels == 1)
                    expected[1][(size_t) i] = converted;
            }

        const auto source = folder.getChildFile ("Float" + juce::String (channels) + ".wav");
        {
            juce::WavAudioFormat wav;
            std::unique_ptr<juce::AudioFormatWriter> writer (wav.createWriterFor (
                source.createOutputStream().release(), 44100.0, (unsigned int) channels, 32, {}, 0));
            ASSERT_NE (writer, nullptr);
            ASSERT_TRUE (writer->writeFromAudioSampleBuffer (buffer, 0, 3000));
        }

        ASSERT_TRUE (convert (source, folder.getChildFile ("Float.mp3")));
        EXPECT_EQ ("", difference (expected, handedOver()));
    }
}

TEST_F (LameBindingTest, aSourceOfNoLengthGivesWhatTheFlushGives)
{
    const auto source = makeWav ("Empty.wav", 2, 0);
    const auto destination = folder.getChildFile ("Empty.mp3");

    ASSERT_TRUE (convert (source, destination));

    EXPECT_TRUE (callsNamed ("lame_encode_buffer_interleaved").isEmpty());
    EXPECT_EQ (callsNamed ("lame_encode_flush").size(), 1);
    EXPECT_EQ (destination.loadFileAsString(), "FFFFFFFFFF");
}

TEST_F (LameBindingTest, aFailedChunkKeepsWhatWasWrittenAndEndsWithoutFlushing)
{
    setenv ("GROOVESMITH_FAKE_LAME_FAIL_AT", "3", 1);
    const auto source = makeWav ("Four.wav", 2, 4 * chunk);
    const auto destination = folder.getChildFile ("Four.mp3");

    EXPECT_FALSE (convert (source, destination));

    EXPECT_EQ (callsNamed ("lame_encode_buffer_interleaved").size(), 3) << "no chunk after the failed one";
    EXPECT_TRUE (callsNamed ("lame_encode_flush").isEmpty());
    EXPECT_EQ (destination.loadFileAsString(), juce::String::repeatedString ("C", 200));
    // Releasing the library frees the stream; nothing else comes after the failure.
    EXPECT_EQ (calls()[calls().size() - 1], "lame_close 0");
    EXPECT_EQ (calls()[calls().size() - 2], "lame_encode_buffer_interleaved " + juce::String (chunk));
    EXPECT_FALSE (LameLibrary::isBound());
    EXPECT_EQ (readAudio (source).length, 4 * chunk);
}

TEST_F (LameBindingTest, settingsTheEncoderRefusesEncodeNothingAndFail)
{
    setenv ("GROOVESMITH_FAKE_LAME_REFUSE", "1", 1);
    const auto source = makeWav ("Track.wav", 2, 3000);
    const auto destination = folder.getChildFile ("Track.mp3");

    EXPECT_FALSE (convert (source, destination));

    EXPECT_EQ (callsNamed ("lame_init_params").size(), 1);
    EXPECT_TRUE (callsNamed ("lame_encode_buffer_interleaved").isEmpty());
    EXPECT_TRUE (callsNamed ("lame_encode_flush").isEmpty());
    EXPECT_EQ (callsNamed ("lame_close").size(), 1) << "the refused stream is not left open";
    EXPECT_EQ (destination.getSize(), 0);
    EXPECT_FALSE (LameLibrary::isBound());
}

TEST_F (LameBindingTest, cancelKeepsThePartWrittenAndNeverFlushes)
{
    const auto source = makeWav ("Long.wav", 2, 8000000);
    const auto destination = folder.getChildFile ("Long.mp3");
    unsetenv ("GROOVESMITH_FAKE_LAME_PCM");

    Mp3LameConvertorThread thread (source.getFullPathName(), destination.getFullPathName(), &project);
    ActWhenWritten cancel (destination, [&thread] { thread.signalThreadShouldExit(); });
    thread.runThread (juce::Thread::Priority::normal);

    ASSERT_TRUE (cancel.acted()) << "the conversion ended before it could be cancelled";
    EXPECT_FALSE (thread.result);
    EXPECT_FALSE (LameLibrary::isBound());
    EXPECT_TRUE (callsNamed ("lame_encode_flush").isEmpty());

    const auto encoded = callsNamed ("lame_encode_buffer_interleaved").size();
    EXPECT_LT (encoded, 8000000 / chunk);
    ASSERT_TRUE (destination.existsAsFile());
    EXPECT_EQ (destination.loadFileAsString(), juce::String::repeatedString ("C", 100 * encoded));
    EXPECT_TRUE (source.existsAsFile());
}

//==============================================================================
TEST_F (LameBindingTest, theLibraryIsBoundForEachTrackAndReleasedAfterIt)
{
    const auto source = makeWav ("Track.wav", 2, 3000);

    ASSERT_TRUE (convert (source, folder.getChildFile ("One.mp3")));
    EXPECT_FALSE (LameLibrary::isBound());
    ASSERT_TRUE (convert (source, folder.getChildFile ("Two.mp3")));
    EXPECT_FALSE (LameLibrary::isBound());

    EXPECT_EQ (callsNamed ("lame_init").size(), 2);
    EXPECT_EQ (callsNamed ("lame_encode_flush").size(), 2);
    EXPECT_EQ (callsNamed ("lame_close").size(), 2) << "each track's stream is freed with the library";
    EXPECT_TRUE (callsNamed ("lame_mp3_tags_fid").isEmpty()) << "no VBR header is written in afterwards";
}

TEST_F (LameBindingTest, aLibraryFoundBoundIsUsedWhateverTheSettingNames)
{
    ASSERT_TRUE (LameLibrary::bindLame (standIn));
    project.lameLibrary = folder.getChildFile ("nothing here.so");

    ASSERT_TRUE (convert (makeWav ("Track.wav", 2, 3000), folder.getChildFile ("Track.mp3")));

    EXPECT_EQ (callsNamed ("lame_init").size(), 1);
    EXPECT_FALSE (LameLibrary::isBound()) << "released at the end of the track all the same";
}

TEST_F (LameBindingTest, aNullProjectOnTheFirstCallFailsAtOnceAndTheFirstProjectIsKept)
{
    const auto source = makeWav ("Track.wav", 2, 3000);
    const auto destination = folder.getChildFile ("Track.mp3");
    Mp3LameConvertor convertor;

    EXPECT_FALSE (convertor.convert (source.getFullPathName(), destination.getFullPathName(), nullptr));
    EXPECT_EQ (convertor.project, nullptr);
    EXPECT_FALSE (destination.exists());
    EXPECT_TRUE (calls().isEmpty());

    EXPECT_TRUE (convertor.convert (source.getFullPathName(), destination.getFullPathName(), &project));
    EXPECT_EQ (convertor.project, &project);
    EXPECT_TRUE (convertor.convert (source.getFullPathName(), destination.getFullPathName(), nullptr));
    EXPECT_EQ (convertor.project, &project);
    EXPECT_EQ (callsNamed ("lame_init").size(), 2);
}

TEST_F (LameBindingTest, aSourceThatIsNoWavFailsBeforeTheEncoderIsStarted)
{
    const auto source = folder.getChildFile ("Notes.wav");
    ASSERT_TRUE (source.replaceWithText ("These are not samples at all.\n"));
    const auto text = source.loadFileAsString();
    const auto destination = folder.getChildFile ("Notes.mp3");

    EXPECT_FALSE (convert (source, destination));

    EXPECT_TRUE (callsNamed ("lame_init").isEmpty());
    EXPECT_FALSE (LameLibrary::isBound());
    EXPECT_EQ (source.loadFileAsString(), text);
    // The worker opens its destination before it looks at what it has: an empty file is
    // left, in place of an earlier one.
    EXPECT_TRUE (destination.existsAsFile());
    EXPECT_EQ (destination.getSize(), 0);
    ASSERT_TRUE (destination.replaceWithText ("an earlier MP3"));
    EXPECT_FALSE (convert (source, destination));
    EXPECT_TRUE (destination.existsAsFile());
    EXPECT_EQ (destination.getSize(), 0);
}

TEST_F (LameBindingTest, aMissingSourceFailsBeforeTheEncoderIsStarted)
{
    const auto destination = folder.getChildFile ("Gone.mp3");

    EXPECT_FALSE (convert (folder.getChildFile ("Gone.wav"), destination));

    EXPECT_TRUE (callsNamed ("lame_init").isEmpty());
    EXPECT_FALSE (LameLibrary::isBound());
    EXPECT_TRUE (destination.existsAsFile());
    EXPECT_EQ (destination.getSize(), 0);
    ASSERT_TRUE (destination.replaceWithText ("an earlier MP3"));
    EXPECT_FALSE (convert (folder.getChildFile ("Gone.wav"), destination));
    EXPECT_TRUE (destination.existsAsFile());
    EXPECT_EQ (destination.getSize(), 0);
    EXPECT_FALSE (folder.getChildFile ("Gone.wav").exists());
}

TEST_F (LameBindingTest, anExistingDestinationIsReplaced)
{
    const auto destination = folder.getChildFile ("Track.mp3");
    ASSERT_TRUE (destination.replaceWithText ("an earlier file that is longer than the new one"));

    ASSERT_TRUE (convert (makeWav ("Track.wav", 2, 0), destination));

    EXPECT_EQ (destination.loadFileAsString(), "FFFFFFFFFF");
}

TEST_F (LameBindingTest, aDestinationThatCannotBeWrittenFails)
{
    const auto place = unwritableFolder();

    EXPECT_FALSE (convert (makeWav ("Track.wav", 2, 3000), place.getChildFile ("Track.mp3")));

    EXPECT_FALSE (place.getChildFile ("Track.mp3").exists());
    EXPECT_TRUE (callsNamed ("lame_encode_buffer_interleaved").isEmpty());
    EXPECT_FALSE (LameLibrary::isBound());
}
