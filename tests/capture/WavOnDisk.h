#pragma once

// A WAV file as the disk holds it, byte by byte, and as an outside tool (soxi) reads it: for
// tests of what a capture leaves on the disk at any moment, a killed one's included.
#include <juce_core/juce_core.h>

#include <gtest/gtest.h>

#include <cstring>

namespace wav_on_disk
{
/** The header of a WAV file as the disk holds it, read byte by byte. */
struct DiskHeader
{
    bool valid = false;
    juce::int64 fileSize = 0;
    juce::int64 riffSize = 0;
    juce::int64 dataOffset = 0;
    juce::int64 dataSize = 0;
};

inline DiskHeader readDiskHeader (const juce::File& file)
{
    DiskHeader header;
    juce::MemoryBlock bytes;
    if (! file.loadFileAsData (bytes) || bytes.getSize() < 12)
        return header;

    const auto* data = static_cast<const char*> (bytes.getData());
    header.fileSize = (juce::int64) bytes.getSize();
    if (std::memcmp (data, "RIFF", 4) != 0 || std::memcmp (data + 8, "WAVE", 4) != 0)
        return header;
    header.riffSize = juce::ByteOrder::littleEndianInt (data + 4);

    for (juce::int64 position = 12; position + 8 <= header.fileSize;)
    {
        const auto size = (juce::int64) juce::ByteOrder::littleEndianInt (data + position + 4);
        if (std::memcmp (data + position, "data", 4) == 0)
        {
            header.dataOffset = position + 8;
            header.dataSize = size;
            header.valid = true;
            break;
        }
        position += 8 + size + (size & 1);
    }
    return header;
}

/** What `soxi` says of a file: its sample count, or -1 when it does not read it. */
inline juce::int64 soxiSamples (const juce::File& file)
{
    juce::ChildProcess soxi;
    if (! soxi.start (juce::StringArray{ "soxi", "-s", file.getFullPathName() }))
        return -1;
    const auto output = soxi.readAllProcessOutput().trim();
    soxi.waitForProcessToFinish (10000);
    return soxi.getExitCode() == 0 && output.containsOnly ("0123456789") && output.isNotEmpty()
               ? output.getLargeIntValue()
               : -1;
}

/** Checks the file as the disk holds it now: a WAV file whose header covers exactly the audio
    after it. Returns the frames it holds, or -1. */
inline juce::int64 framesOnDisk (const juce::File& file)
{
    const auto header = readDiskHeader (file);
    EXPECT_TRUE (header.valid) << file.getFullPathName();
    if (! header.valid)
        return -1;
    EXPECT_EQ (header.riffSize, header.fileSize - 8);
    EXPECT_EQ (header.dataOffset + header.dataSize, header.fileSize);
    return header.dataSize / 4;
}
} // namespace wav_on_disk
