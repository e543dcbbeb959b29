#pragma once

#include <juce_audio_formats/juce_audio_formats.h>

/**
    The one way the program opens a user's audio file for reading. A reader comes back only for
    a file whose header makes sense (some channels, not thousands; a real sample rate), and its
    length is cut to the audio the file really holds, whatever the header claims: a header that
    promises hours on a file of a few kilobytes must not make anyone write hours of silence.
*/
namespace AudioReaders
{
/** Channels and rates beyond these are no recording's. Below 1000 Hz nothing is heard, and a
    file that claims such a rate would make the MP3 encoder, which brings every source to
    44100 Hz, stretch each of its samples into forty-four thousand. */
constexpr unsigned int maxChannels = 64;
constexpr double minSampleRate = 1000.0;
constexpr double maxSampleRate = 1000000.0;

/** A reader of `file` in `format`, or null. */
std::unique_ptr<juce::AudioFormatReader> open (const juce::File& file, juce::AudioFormat& format);

/** A reader of `file` by the first of `formats` that takes its extension and reads it, or null. */
std::unique_ptr<juce::AudioFormatReader> open (const juce::File& file, juce::AudioFormatManager& formats);

/** The frames of FLAC audio that `stream` really holds, decoding at most up to `limit`, and
    none from the first frame whose channels or depth differ from the stream's description. */
juce::int64 countFlacFrames (juce::InputStream& stream, juce::int64 limit);
} // namespace AudioReaders
