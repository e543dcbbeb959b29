#pragma once

#include "encoding/AudioFiles.h"

#include <vector>

/**
    What the MP3 tests need to look at an MP3 file from outside the program: its frames walked
    header by header, what mutagen reads of its stream and tags, and a sweep whose position in
    a decoded file can be found again.
*/
namespace mp3files
{
/** One MPEG-1 Layer III frame as its header describes it. */
struct Frame
{
    juce::int64 offset = 0;
    int size = 0;
    int kbps = 0;
    int rate = 0;
    int mode = -1; // 0 stereo, 1 joint stereo, 2 dual channel, 3 mono
};

/** The frames of a file, from behind a leading ID3v2 tag to the first thing that is no frame. */
struct Frames
{
    std::vector<Frame> frames;
    juce::int64 audioStart = 0;
    juce::int64 end = 0;      // where the walk stopped
    juce::int64 fileSize = 0; // equal to `end` when the file holds frames and nothing else
};
Frames framesOf (const juce::File& file);

/** The bytes of one frame behind its four-byte header. */
juce::MemoryBlock frameBody (const juce::File& file, const Frame& frame);

/** True when the bytes hold "Xing" or "Info", the marks of a VBR header frame. */
bool holdsVbrHeader (const juce::MemoryBlock& body);

/** True when every byte is 0. */
bool allZero (const juce::MemoryBlock& body);

//==============================================================================
/** What mutagen reads of an MP3 file. */
struct MutagenInfo
{
    int exitCode = -1;
    int rate = 0;
    int channels = 0;
    int mode = -1; // as in the frame header: 1 is joint stereo
    int bitrate = 0;
    juce::String bitrateMode; // "UNKNOWN", "CBR", "VBR" or "ABR"
    double length = 0.0;
    juce::StringPairArray tags; // ID3v2 frame id to its text
    juce::String output;
};
MutagenInfo mutagenInfo (const juce::File& file);

//==============================================================================
/** A sweep from 200 Hz to 5 kHz and back, a different one per channel, at 16 bits: it never
    repeats, so a decoded copy can be lined up with it. */
audiofiles::Channels sweep (int channels, int length, double rate);

/** The delay, 0 to `maxLag` samples, at which `decoded` best matches `source`. */
int bestLag (const std::vector<int>& source, const std::vector<int>& decoded, int maxLag);

/** The RMS of what differs between `source` and `decoded` delayed by `lag`, over the RMS of the
    source: 0 for a perfect copy. */
double residual (const std::vector<int>& source, const std::vector<int>& decoded, int lag);

/** The number of sample frames after the encoder's chunks padded the source. */
juce::int64 paddedToChunks (juce::int64 length, juce::int64 chunk);
} // namespace mp3files

/** Fails the test when the encoder library of the system is missing. */
#define REQUIRE_LAME_LIBRARY()                                                                                         \
    ASSERT_TRUE (Project::defaultLameLibrary().existsAsFile())                                                         \
        << "the MP3 encoder library is missing: install the Debian package libmp3lame0 (script/setup installs it)"
