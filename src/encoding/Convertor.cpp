#include "encoding/Convertor.h"

#include "encoding/FormatConvertors.h"
#include "encoding/ItunesConvertors.h"
#include "encoding/WavConvertor.h"
#include "project/Track.h"

namespace
{
/** Stands for the LAME convertor until the program has one: it writes nothing and fails, so
    that the run reports the track instead of writing a file that is not what its name says. */
class UnavailableConvertor final : public Convertor
{
public:
    bool convert (juce::String, juce::String, Project*) override { return false; }
};
} // namespace

std::unique_ptr<Convertor> Convertor::forFormat (int format)
{
    switch (format)
    {
        case formatAacItunes:
            return std::make_unique<AacConvertor>();
        case formatAppleLosslessItunes:
            return std::make_unique<AppleLosslessConvertor>();
        case formatAiff:
            return std::make_unique<AiffConvertor>();
        case formatOgg:
            return std::make_unique<OggConvertor>();
        case formatFlac:
            return std::make_unique<FlacConvertor>();
        case formatMp3Itunes:
            return std::make_unique<Mp3Convertor>();
        case formatMp3Lame:
            return std::make_unique<UnavailableConvertor>();
        case formatWav:
        default:
            return std::make_unique<WavConvertor>();
    }
}

juce::String Convertor::extensionForFormat (int format)
{
    switch (format)
    {
        case formatAacItunes:
        case formatAppleLosslessItunes:
            return ".m4a";
        case formatAiff:
            return ".aiff";
        case formatOgg:
            return ".ogg";
        case formatFlac:
            return ".flac";
        case formatMp3Itunes:
        case formatMp3Lame:
            return ".mp3";
        case formatWav:
        default:
            return ".wav";
    }
}

juce::String Convertor::formatName (int format)
{
    switch (format)
    {
        case formatWav:
            return "wav";
        case formatAacItunes:
            return "AAC (iTunes)";
        case formatAppleLosslessItunes:
            return "Apple Lossless (iTunes)";
        case formatAiff:
            return "aiff";
        case formatOgg:
            return "ogg";
        case formatFlac:
            return "flac";
        case formatMp3Itunes:
            return "mp3 (iTunes)";
        case formatMp3Lame:
            return "mp3 (lame)";
        default:
            return {};
    }
}
