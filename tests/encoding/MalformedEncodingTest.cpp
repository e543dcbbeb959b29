// The convertors' decoders, the output convertors and the cover preview fed with every
// malformed file of the corpus, and conversions onto a disk that is full.
#include "editing/MergeThread.h"
#include "editing/ResamplerThread.h"
#include "editing/SplitThread.h"
#include "encoding/FormatConvertors.h"
#include "encoding/Mp3LameConvertor.h"
#include "encoding/ThumbnailComponent.h"
#include "encoding/WavConvertor.h"
#include "project/AudioReaders.h"
#include "support/FakeDialogs.h"
#include "support/FileSizeLimit.h"
#include "support/MalformedCorpus.h"

#include <gtest/gtest.h>

namespace
{
using MalformedCorpus::Entry;
using MalformedCorpus::nameOf;

/** A second of stereo sine, 16 bits at 44100 Hz: 176 KB of samples. */
juce::File secondOfSound (const juce::File& folder, const juce::String& name)
{
    auto file = folder.getChildFile (name);
    juce::AudioSampleBuffer buffer (2, 44100);
    for (int i = 0; i < 44100; ++i)
    {
        const auto value = 0.5f * std::sin (2.0f * juce::MathConstants<float>::pi * 440.0f * (float) i / 44100.0f);
        buffer.setSample (0, i, value);
        buffer.setSample (1, i, -value);
    }

    std::unique_ptr<juce::AudioFormat> format;
    if (name.endsWith (".flac"))
        format = std::make_unique<juce::FlacAudioFormat>();
    else
        format = std::make_unique<juce::WavAudioFormat>();

    std::unique_ptr<juce::AudioFormatWriter> writer (
        format->createWriterFor (file.createOutputStream().release(), 44100.0, 2, 16, {}, 0));
    writer->writeFromAudioSampleBuffer (buffer, 0, buffer.getNumSamples());
    return file;
}
} // namespace

TEST (MalformedFiles, TheWavConvertorDecodesOnlyWhatTheFileHolds)
{
    Project project;
    const auto entries =
        MalformedCorpus::only (MalformedCorpus::make ({ "aiff", "flac", "ogg" }), { "aiff", "flac", "ogg" });
    ASSERT_GT (entries.size(), 300u);
    const auto out = freshFolder ("decoded").getChildFile ("out.wav");
    int succeeded = 0;

    for (const auto& entry : entries)
    {
        const MalformedCorpus::LeftAsFound leftAsFound (entry);
        out.deleteFile();

        WavConvertorThread worker (entry.file.getFullPathName(), out.getFullPathName(), &project);
        worker.run();

        if (worker.result)
            ++succeeded;

        if (out.existsAsFile())
        {
            EXPECT_LE (MalformedCorpus::wavFrames (out), entry.frames) << nameOf (entry);
        }
    }

    EXPECT_GT (succeeded, 150);
}

TEST (MalformedFiles, TheOutputConvertorsWriteOnlyWhatTheWavHolds)
{
    Project project;
    const auto entries = MalformedCorpus::only (MalformedCorpus::make ({ "wav" }), { "wav" });
    ASSERT_GT (entries.size(), 200u);
    const auto folder = freshFolder ("converted");
    int succeeded = 0;

    for (const auto& entry : entries)
    {
        const MalformedCorpus::LeftAsFound leftAsFound (entry);
        const auto source = entry.file.getFullPathName();

        const auto check = [&] (ConvertorThread& worker, const juce::File& out)
        {
            out.deleteFile();
            worker.run();
            succeeded += worker.result ? 1 : 0;
            if (worker.result)
            {
                EXPECT_LE (MalformedCorpus::framesOf (out), entry.frames) << nameOf (entry) << " " << out.getFileName();
            }
        };

        const auto aiff = folder.getChildFile ("out.aiff");
        const auto flac = folder.getChildFile ("out.flac");
        const auto ogg = folder.getChildFile ("out.ogg");
        {
            AiffConvertorThread worker (source, aiff.getFullPathName(), &project);
            check (worker, aiff);
        }
        {
            FlacConvertorThread worker (source, flac.getFullPathName(), &project);
            check (worker, flac);
        }
        {
            OggConvertorThread worker (source, ogg.getFullPathName(), &project);
            check (worker, ogg);
        }

        // MP3: the encoder's whole chunks and its delay, at most three frames of 1152, at 320
        // kbit/s at the most.
        const auto mp3 = folder.getChildFile ("out.mp3");
        mp3.deleteFile();
        {
            Mp3LameConvertorThread worker (source, mp3.getFullPathName(), &project);
            worker.run();
        }
        // The encoder brings the source's rate, as the program reads it, to 44100 Hz: a slow source
        // lasts longer. (JUCE's own reader overflows on some of these headers.)
        juce::WavAudioFormat wavFormat;
        const auto sourceReader = entry.file.existsAsFile() ? AudioReaders::open (entry.file, wavFormat) : nullptr;
        if (mp3.existsAsFile() && sourceReader != nullptr && sourceReader->sampleRate >= 1.0)
        {
            const auto stretched =
                (juce::int64) ((double) entry.frames * juce::jmax (1.0, 44100.0 / sourceReader->sampleRate));
            EXPECT_LE (mp3.getSize(), 4096 + (stretched + 3 * 1152) * 320000 / 8 / 44100) << nameOf (entry);
        }
    }

    EXPECT_GT (succeeded, 300);
}

namespace
{
/** A mono 16-bit WAV file of `frames` frames of a quiet ramp at any rate its header may claim. */
juce::File wavAtRate (const juce::File& file, juce::uint32 rate, int frames)
{
    juce::MemoryOutputStream bytes;
    const auto dataSize = (juce::uint32) frames * 2;
    bytes.write ("RIFF", 4);
    bytes.writeInt ((int) (36 + dataSize));
    bytes.write ("WAVEfmt ", 8);
    bytes.writeInt (16);
    bytes.writeShort (1);
    bytes.writeShort (1);
    bytes.writeInt ((int) rate);
    bytes.writeInt ((int) (rate * 2));
    bytes.writeShort (2);
    bytes.writeShort (16);
    bytes.write ("data", 4);
    bytes.writeInt ((int) dataSize);
    for (int i = 0; i < frames; ++i)
        bytes.writeShort ((short) (i % 200));
    file.replaceWithData (bytes.getData(), bytes.getDataSize());
    return file;
}
} // namespace

TEST (MalformedFiles, AFileClaimingAnInaudibleRateIsRefusedBeforeTheMp3EncoderStretchesIt)
{
    Project project;
    const auto folder = freshFolder ("inaudible");
    const auto out = folder.getChildFile ("out.mp3");

    for (const auto rate : { 1u, 7u, 999u, 1000u })
    {
        const auto source = wavAtRate (folder.getChildFile ("rate " + juce::String (rate) + ".wav"), rate, 4000);
        juce::WavAudioFormat wav;
        const auto reader = AudioReaders::open (source, wav);
        EXPECT_EQ (reader != nullptr, rate >= 1000) << rate;

        out.deleteFile();
        Mp3LameConvertorThread worker (source.getFullPathName(), out.getFullPathName(), &project);
        worker.run();
        EXPECT_EQ (worker.result, rate >= 1000) << rate;

        // At 1000 Hz the four seconds become 44100 Hz ones: at most 320 kbit/s of them and the
        // encoder's last frames.
        if (rate >= 1000)
        {
            EXPECT_GT (out.getSize(), 0);
            EXPECT_LE (out.getSize(), 4096 + (juce::int64) (4 * 44100 + 3 * 1152) * 320000 / 8 / 44100);
        }
        else
        {
            EXPECT_LE (out.getSize(), 0) << rate;
        }
    }
}

TEST (MalformedFiles, ACoverThatIsNoPictureShowsNothing)
{
    const auto entries = MalformedCorpus::only (MalformedCorpus::make ({ "cover" }), { "png", "jpg" });
    ASSERT_GE (entries.size(), 50u);
    int shown = 0;

    for (const auto& entry : entries)
    {
        const MalformedCorpus::LeftAsFound leftAsFound (entry);
        ThumbnailComponent preview;
        preview.setSize (80, 80);
        preview.selectedFileChanged (entry.file);
        preview.timerCallback();

        if (const auto* picture = preview.getThumbnail())
        {
            ++shown;
            EXPECT_LE ((juce::int64) picture->getWidth() * picture->getHeight(), (juce::int64) 16384 * 16384)
                << nameOf (entry);
            juce::Image canvas (juce::Image::RGB, 80, 80, true);
            juce::Graphics g (canvas);
            preview.paint (g);
        }

        if (entry.file.getFileName().endsWith ("-valid.png") || entry.file.getFileName().endsWith ("-valid.jpg"))
        {
            EXPECT_NE (preview.getThumbnail(), nullptr) << nameOf (entry);
        }
    }

    EXPECT_GE (shown, 2);
}

TEST (MalformedFiles, AConversionOntoAFullDiskFailsAndLeavesNoFile)
{
    Project project;
    const auto folder = freshFolder ("fulldisk");
    const auto wav = secondOfSound (folder, "source.wav");
    const auto flac = secondOfSound (folder, "source.flac");
    const auto aiff = folder.getChildFile ("out.aiff");
    const auto decoded = folder.getChildFile ("decoded.wav");
    const auto wavBefore = MalformedCorpus::fingerprint (wav);
    const auto flacBefore = MalformedCorpus::fingerprint (flac);

    {
        const FileSizeLimit limit (64 * 1024);

        AiffConvertorThread toAiff (wav.getFullPathName(), aiff.getFullPathName(), &project);
        toAiff.run();
        EXPECT_FALSE (toAiff.result);

        WavConvertorThread toWav (flac.getFullPathName(), decoded.getFullPathName(), &project);
        toWav.run();
        EXPECT_FALSE (toWav.result);
    }

    EXPECT_FALSE (aiff.exists());
    EXPECT_FALSE (decoded.exists());
    EXPECT_EQ (MalformedCorpus::fingerprint (wav), wavBefore);
    EXPECT_EQ (MalformedCorpus::fingerprint (flac), flacBefore);

    // With room enough the same conversions succeed.
    AiffConvertorThread toAiff (wav.getFullPathName(), aiff.getFullPathName(), &project);
    toAiff.run();
    EXPECT_TRUE (toAiff.result);
    EXPECT_EQ (MalformedCorpus::framesOf (aiff), 44100);
}

TEST (MalformedFiles, SplitMergeAndResamplingOntoAFullDiskFailAndLeaveNoOutput)
{
    const auto folder = freshFolder ("fulldiskediting");
    const auto wav = secondOfSound (folder, "source.wav");
    const auto other = secondOfSound (folder, "other.wav");
    const auto before = MalformedCorpus::fingerprint (wav);
    const auto start = folder.getChildFile ("start.wav");
    const auto end = folder.getChildFile ("end.wav");
    const auto merged = folder.getChildFile ("merged.wav");
    auto input = wav;
    auto resampled = folder.getChildFile ("resampled.wav");

    {
        const FileSizeLimit limit (64 * 1024);

        SplitThread split (wav, 0.5, start, end);
        split.run();
        EXPECT_FALSE (split.success);

        MergeThread merge (wav, other, merged);
        merge.run();
        EXPECT_FALSE (merge.success);

        ResamplerThread resample (&input, &resampled, 0.74);
        resample.run();
        EXPECT_FALSE (resample.success);
    }

    EXPECT_FALSE (start.exists());
    EXPECT_FALSE (end.exists());
    EXPECT_FALSE (merged.exists());
    EXPECT_FALSE (resampled.exists());
    EXPECT_EQ (MalformedCorpus::fingerprint (wav), before);
    EXPECT_TRUE (other.existsAsFile());
}
