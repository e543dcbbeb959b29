#pragma once

#include <juce_audio_devices/juce_audio_devices.h>
#include <juce_audio_formats/juce_audio_formats.h>

#include "project/CheckedFileOutput.h"

class Project;

/** What split, merge and resampling share: the fixed output format and the reading chain. */
namespace TrackStreaming
{
/** Frames moved per block, and the rate everything is delivered at. */
constexpr int blockSize = 960;
constexpr double outputRate = 44100.0;

/** How many frames at 44100 Hz the transport delivers for `sourceFrames` frames of a source
    played as if at `sourceRate`: enough to cover every one of them. */
juce::int64 outputFrames (juce::int64 sourceFrames, double sourceRate);

/** A WAV writer at 44100 Hz, 2 channels, 16 bits, no metadata, on a 32768-byte buffered stream;
    null when the file can't be opened. An existing file is written after its end, as the stream
    finds it. `outcome` learns of every write the system refused, the last one when the writer
    is deleted. */
std::unique_ptr<juce::AudioFormatWriter> createWriter (const juce::File& file, WriteOutcome& outcome);

/** Writes `count` frames of the two channels of `buffer` from `start` (at most one block) in 16
    bits. Each sample is taken back to the step it was read from, times 32768, rounded and kept
    within the scale: 16-bit audio moved at its own rate comes out bit for bit. */
bool writeBlock (juce::AudioFormatWriter& writer, const juce::AudioSampleBuffer& buffer, int start, int count);

/** Connects the source to the transport, which corrects for `sourceRate`, and starts it at the
    beginning, delivering 960-sample blocks at 44100 Hz. */
void startTransport (juce::AudioTransportSource& transport, juce::AudioFormatReaderSource& source, double sourceRate);

/** A shown text in the user's language, when there is a project to ask. */
juce::String translate (const Project* project, const juce::String& text);
} // namespace TrackStreaming
