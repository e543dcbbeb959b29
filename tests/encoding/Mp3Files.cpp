#include "encoding/Mp3Files.h"

#include <cmath>

namespace mp3files
{
namespace
{
const int mpeg1Layer3Kbps[16] = { 0, 32, 40, 48, 56, 64, 80, 96, 112, 128, 160, 192, 224, 256, 320, -1 };
const int mpeg1Rates[4] = { 44100, 48000, 32000, -1 };

/** The size of a leading ID3v2 tag with its header, or 0. */
juce::int64 id3v2Size (const juce::uint8* bytes, size_t size)
{
    if (size < 10 || bytes[0] != 'I' || bytes[1] != 'D' || bytes[2] != '3')
        return 0;
    const auto body = ((juce::int64) (bytes[6] & 0x7f) << 21) | ((juce::int64) (bytes[7] & 0x7f) << 14) |
                      ((juce::int64) (bytes[8] & 0x7f) << 7) | (juce::int64) (bytes[9] & 0x7f);
    const bool footer = (bytes[5] & 0x10) != 0;
    return 10 + body + (footer ? 10 : 0);
}
} // namespace

Frames framesOf (const juce::File& file)
{
    Frames result;
    juce::MemoryBlock data;
    file.loadFileAsData (data);
    const auto* bytes = static_cast<const juce::uint8*> (data.getData());
    const auto size = (juce::int64) data.getSize();
    result.fileSize = size;
    result.audioStart = id3v2Size (bytes, data.getSize());

    auto offset = result.audioStart;
    while (offset + 4 <= size)
    {
        const auto* header = bytes + offset;
        // Sync, MPEG-1 (version bits 11), Layer III (layer bits 01).
        if (header[0] != 0xff || (header[1] & 0xfe) != 0xfa)
            break;

        const auto kbps = mpeg1Layer3Kbps[header[2] >> 4];
        const auto rate = mpeg1Rates[(header[2] >> 2) & 3];
        if (kbps <= 0 || rate <= 0)
            break;

        Frame frame;
        frame.offset = offset;
        frame.kbps = kbps;
        frame.rate = rate;
        frame.mode = header[3] >> 6;
        frame.size = 144000 * kbps / rate + ((header[2] >> 1) & 1);
        if (offset + frame.size > size)
            break;

        result.frames.push_back (frame);
        offset += frame.size;
    }

    result.end = offset;
    return result;
}

juce::MemoryBlock frameBody (const juce::File& file, const Frame& frame)
{
    juce::MemoryBlock data;
    file.loadFileAsData (data);
    return juce::MemoryBlock (static_cast<const char*> (data.getData()) + frame.offset + 4, (size_t) frame.size - 4);
}

bool holdsVbrHeader (const juce::MemoryBlock& body)
{
    const std::string bytes (static_cast<const char*> (body.getData()), body.getSize());
    return bytes.find ("Xing") != std::string::npos || bytes.find ("Info") != std::string::npos;
}

bool allZero (const juce::MemoryBlock& body)
{
    for (size_t i = 0; i < body.getSize(); ++i)
        if (body[i] != 0)
            return false;
    return true;
}

//==============================================================================
MutagenInfo mutagenInfo (const juce::File& file)
{
    // The system's Python, where Debian's python3-mutagen lives.
    const auto run = audiofiles::runTool ({ "/usr/bin/python3", "-c",
                                            "import sys, mutagen.mp3\n"
                                            "f = mutagen.mp3.MP3 (sys.argv[1])\n"
                                            "i = f.info\n"
                                            "print ('rate', i.sample_rate)\n"
                                            "print ('channels', i.channels)\n"
                                            "print ('mode', i.mode)\n"
                                            "print ('bitrate', i.bitrate)\n"
                                            "print ('bitrate_mode', str (i.bitrate_mode).split ('.')[-1])\n"
                                            "print ('length', repr (i.length))\n"
                                            "for key, frame in sorted ((f.tags or {}).items()):\n"
                                            "    print ('tag', key, str (frame))\n",
                                            file.getFullPathName() });

    MutagenInfo info;
    info.exitCode = run.exitCode;
    info.output = run.output;
    for (const auto& line : juce::StringArray::fromLines (run.output))
    {
        const auto key = line.upToFirstOccurrenceOf (" ", false, false);
        const auto value = line.fromFirstOccurrenceOf (" ", false, false);
        if (key == "rate")
            info.rate = value.getIntValue();
        else if (key == "channels")
            info.channels = value.getIntValue();
        else if (key == "mode")
            info.mode = value.getIntValue();
        else if (key == "bitrate")
            info.bitrate = value.getIntValue();
        else if (key == "bitrate_mode")
            info.bitrateMode = value;
        else if (key == "length")
            info.length = value.getDoubleValue();
        else if (key == "tag")
            info.tags.set (value.upToFirstOccurrenceOf (" ", false, false),
                           value.fromFirstOccurrenceOf (" ", false, false));
    }
    return info;
}

//==============================================================================
audiofiles::Channels sweep (int channels, int length, double rate)
{
    audiofiles::Channels samples ((size_t) channels, std::vector<int> ((size_t) length));
    const double twoPi = 2.0 * juce::MathConstants<double>::pi;
    for (int c = 0; c < channels; ++c)
    {
        double phase = 0.3 * c;
        for (int i = 0; i < length; ++i)
        {
            // Up and down once a second, the channels a third of a second apart.
            const double t = i / rate + c / 3.0;
            const double along = 0.5 - 0.5 * std::cos (twoPi * t);
            const double frequency = 200.0 * std::pow (25.0, along);
            phase += twoPi * frequency / rate;
            samples[(size_t) c][(size_t) i] = (int) std::lround (9000.0 * std::sin (phase));
        }
    }
    return samples;
}

int bestLag (const std::vector<int>& source, const std::vector<int>& decoded, int maxLag)
{
    const auto span = (int) juce::jmin ((size_t) 16384, source.size());
    int best = -1;
    double bestScore = -1.0;
    for (int lag = 0; lag <= maxLag; ++lag)
    {
        if ((size_t) (lag + span) > decoded.size())
            break;
        double score = 0.0;
        for (int i = 0; i < span; ++i)
            score += (double) source[(size_t) i] * decoded[(size_t) (lag + i)];
        if (score > bestScore)
        {
            bestScore = score;
            best = lag;
        }
    }
    return best;
}

double residual (const std::vector<int>& source, const std::vector<int>& decoded, int lag)
{
    double difference = 0.0, energy = 0.0;
    for (size_t i = 0; i < source.size() && i + (size_t) lag < decoded.size(); ++i)
    {
        const double d = decoded[i + (size_t) lag] - source[i];
        difference += d * d;
        energy += (double) source[i] * source[i];
    }
    return energy > 0.0 ? std::sqrt (difference / energy) : 1.0;
}

juce::int64 paddedToChunks (juce::int64 length, juce::int64 chunk)
{
    return (length + chunk - 1) / chunk * chunk;
}
} // namespace mp3files
