// The writer of the capture's WAV files: the one process-wide object, its numbering, and the
// files it makes through 16 bits.
#include "CaptureTestSupport.h"

#include <gtest/gtest.h>

namespace
{
class TrackWriterFiles : public ::testing::Test
{
protected:
    void SetUp() override
    {
        folder = juce::File::createTempFile ("writer");
        ASSERT_TRUE (folder.createDirectory());
        other = juce::File::createTempFile ("writer-other");
        ASSERT_TRUE (other.createDirectory());
    }

    void TearDown() override
    {
        TrackWriter::deleteInstance();
        folder.deleteRecursively();
        other.deleteRecursively();
    }

    bool writeBlock (TrackWriter& writer, std::vector<float> left, std::vector<float> right)
    {
        const float* channels[2] = { left.data(), right.data() };
        return writer.write (channels, static_cast<int> (left.size()));
    }

    juce::File folder, other;
};
} // namespace

TEST_F (TrackWriterFiles, noWriterIsMadeWithoutARate)
{
    EXPECT_EQ (TrackWriter::getInstance ({}, 0, 0), nullptr);
    EXPECT_EQ (TrackWriter::getInstance (folder.getFullPathName(), 3, 0), nullptr);
}

TEST_F (TrackWriterFiles, theWriterIsKeptForItsFolderWhateverTheOtherArgumentsSay)
{
    auto* writer = TrackWriter::getInstance (folder.getFullPathName(), 4, 44100);
    ASSERT_NE (writer, nullptr);
    EXPECT_EQ (writer->getTrackNumber(), 4);
    EXPECT_EQ (writer->getFileName(), "");
    EXPECT_EQ (writer->getSamplesWritten(), 0);

    EXPECT_EQ (TrackWriter::getInstance (folder.getFullPathName(), 9, 48000), writer);
    EXPECT_EQ (TrackWriter::getInstance ({}, 0, 0), writer);
    EXPECT_EQ (writer->getTrackNumber(), 4);

    // Another folder replaces it.
    auto* replaced = TrackWriter::getInstance (other.getFullPathName(), 7, 44100);
    ASSERT_NE (replaced, nullptr);
    EXPECT_EQ (replaced->getFolder(), other.getFullPathName());
    EXPECT_EQ (replaced->getTrackNumber(), 7);
    EXPECT_EQ (TrackWriter::getInstance ({}, 0, 0), replaced);
}

TEST_F (TrackWriterFiles, aNewWriterNeverNumbersBelowOne)
{
    EXPECT_EQ (TrackWriter::getInstance (folder.getFullPathName(), -1, 44100)->getTrackNumber(), 1);
    EXPECT_EQ (TrackWriter::getInstance (other.getFullPathName(), 0, 44100)->getTrackNumber(), 1);
}

TEST_F (TrackWriterFiles, advanceMovesTheNumberOnAndReturnsIt)
{
    auto* writer = TrackWriter::getInstance (folder.getFullPathName(), 2, 44100);
    EXPECT_EQ (writer->advance (1), 3);
    EXPECT_EQ (writer->advance (4), 7);
    EXPECT_EQ (writer->getTrackNumber(), 7);
    writer->setTrackNumber (1);
    EXPECT_EQ (writer->getTrackNumber(), 1);
}

TEST_F (TrackWriterFiles, samplesGoThroughSixteenBitsAndClipOnlyThere)
{
    auto* writer = TrackWriter::getInstance (folder.getFullPathName(), 1, 48000);
    ASSERT_TRUE (writeBlock (*writer, { 0.0f, 0.25f, -0.25f, 1.5f, -2.0f, 1.0f, -1.0f, 1.0e-6f },
                             { 0.5f, 0.1f, -0.1f, 0.999f, -0.999f, 3.0f / 32767.0f, -7.0f / 32767.0f, 0.0f }));
    EXPECT_EQ (writer->getFileName(), folder.getChildFile ("Track1.wav").getFullPathName());
    EXPECT_EQ (writer->getSamplesWritten(), 8);
    writer->close();

    const auto contents = readWav (folder.getChildFile ("Track1.wav"));
    ASSERT_TRUE (contents.valid);
    EXPECT_EQ (contents.sampleRate, 48000.0);
    EXPECT_EQ (contents.numChannels, 2);
    EXPECT_EQ (contents.bitsPerSample, 16);
    EXPECT_EQ (contents.left, (std::vector<int>{ 0, 8192, -8192, 32767, -32767, 32767, -32767, 0 }));
    EXPECT_EQ (contents.right, (std::vector<int>{ 16384, 3277, -3277, 32734, -32734, 3, -7, 0 }));
}

TEST_F (TrackWriterFiles, aChangeOfNumberMovesTheNextWriteToANewFile)
{
    auto* writer = TrackWriter::getInstance (folder.getFullPathName(), 1, 44100);
    writeBlock (*writer, { 0.1f, 0.2f }, { 0.3f, 0.4f });
    writeBlock (*writer, { 0.5f }, { 0.6f });
    EXPECT_TRUE (writer->isFileOpen());

    writer->advance (1);
    EXPECT_EQ (writer->getSamplesWritten(), 3);
    writeBlock (*writer, { -0.5f }, { -0.6f });
    EXPECT_EQ (writer->getFileName(), folder.getChildFile ("Track2.wav").getFullPathName());
    EXPECT_EQ (writer->getSamplesWritten(), 1);
    writer->close();
    EXPECT_FALSE (writer->isFileOpen());
    EXPECT_EQ (writer->getFileName(), folder.getChildFile ("Track2.wav").getFullPathName());

    EXPECT_EQ (readWav (folder.getChildFile ("Track1.wav")).left, (std::vector<int>{ 3277, 6553, 16384 }));
    EXPECT_EQ (readWav (folder.getChildFile ("Track2.wav")).right, (std::vector<int>{ -19660 }));
}

TEST_F (TrackWriterFiles, anExistingFileOfTheNameIsReplacedWithoutAsking)
{
    ASSERT_TRUE (folder.getChildFile ("Track5.wav").replaceWithText (juce::String::repeatedString ("old", 50000)));
    auto* writer = TrackWriter::getInstance (folder.getFullPathName(), 5, 44100);
    writeBlock (*writer, { 0.5f }, { 0.5f });
    writer->close();

    const auto contents = readWav (folder.getChildFile ("Track5.wav"));
    ASSERT_TRUE (contents.valid);
    EXPECT_EQ (contents.left, std::vector<int>{ 16384 });
    EXPECT_LT (folder.getChildFile ("Track5.wav").getSize(), 1000);
}

TEST_F (TrackWriterFiles, theSameNumberAfterACloseStartsItsFileAfresh)
{
    auto* writer = TrackWriter::getInstance (folder.getFullPathName(), 1, 44100);
    writeBlock (*writer, { 0.1f, 0.1f }, { 0.1f, 0.1f });
    writer->close();
    writeBlock (*writer, { -0.1f }, { -0.1f });
    writer->close();

    EXPECT_EQ (readWav (folder.getChildFile ("Track1.wav")).left, std::vector<int>{ -3277 });
}

TEST_F (TrackWriterFiles, aNameThatCannotBeCreatedFallsBackToTheZeroPaddedOne)
{
    ASSERT_TRUE (folder.getChildFile ("Track7.wav").createDirectory());
    ASSERT_TRUE (folder.getChildFile ("Track7.wav").getChildFile ("keep").replaceWithText ("x"));

    auto* writer = TrackWriter::getInstance (folder.getFullPathName(), 7, 44100);
    EXPECT_TRUE (writeBlock (*writer, { 0.25f }, { -0.25f }));
    EXPECT_EQ (writer->getFileName(), folder.getChildFile ("Track07.wav").getFullPathName());
    writer->close();

    EXPECT_EQ (readWav (folder.getChildFile ("Track07.wav")).right, std::vector<int>{ -8192 });
}

TEST_F (TrackWriterFiles, withoutAnyFileTheWriteFailsButTheSamplesAreCounted)
{
    auto* writer = TrackWriter::getInstance (folder.getChildFile ("missing").getFullPathName(), 1, 44100);
    EXPECT_FALSE (writeBlock (*writer, { 0.25f, 0.5f }, { 0.25f, 0.5f }));
    EXPECT_FALSE (writeBlock (*writer, { 0.25f }, { 0.25f }));
    EXPECT_EQ (writer->getSamplesWritten(), 3);
    EXPECT_FALSE (writer->isFileOpen());

    // The folder appears: the next block opens the file.
    ASSERT_TRUE (folder.getChildFile ("missing").createDirectory());
    EXPECT_TRUE (writeBlock (*writer, { 0.5f }, { 0.5f }));
    writer->close();
    EXPECT_EQ (readWav (folder.getChildFile ("missing").getChildFile ("Track1.wav")).left, std::vector<int>{ 16384 });
}

TEST_F (TrackWriterFiles, aMissingChannelWritesNothing)
{
    auto* writer = TrackWriter::getInstance (folder.getFullPathName(), 1, 44100);
    std::vector<float> left{ 0.5f };
    const float* channels[2] = { left.data(), nullptr };
    EXPECT_FALSE (writer->write (channels, 1));
    EXPECT_EQ (writer->getSamplesWritten(), 0);
    EXPECT_FALSE (folder.getChildFile ("Track1.wav").exists());
}

TEST_F (TrackWriterFiles, theFileStreamBuffersThirtyTwoKilobytes)
{
    auto* writer = TrackWriter::getInstance (folder.getFullPathName(), 1, 44100);
    const auto file = folder.getChildFile ("Track1.wav");
    const std::vector<float> block (1000, 0.25f); // 4000 bytes of sound a block

    // The header is on the disk at once; the blocks wait in the buffer while they fit.
    writeBlock (*writer, block, block);
    const auto header = file.getSize();
    EXPECT_EQ (header, 104);
    int blocks = 1;
    while (file.getSize() == header && blocks < 20)
    {
        writeBlock (*writer, block, block);
        ++blocks;
    }

    // The block that would have overflowed the buffer sent the blocks before it to the disk
    // first, with their header: they fit in 32768 bytes where one more would not.
    const auto flushed = file.getSize() - header;
    EXPECT_EQ (flushed, (blocks - 1) * 4000);
    EXPECT_LT (flushed, TrackWriter::streamBufferSize);
    EXPECT_GE (flushed + 4000, TrackWriter::streamBufferSize);
    EXPECT_EQ (readWav (file).left.size(), (size_t) (blocks - 1) * 1000);
    writer->close();
    EXPECT_EQ (readWav (file).left.size(), (size_t) blocks * 1000);
}
