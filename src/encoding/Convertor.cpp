#include "encoding/Convertor.h"

#include "encoding/FormatConvertors.h"
#include "encoding/ItunesConvertors.h"
#include "encoding/Mp3LameConvertor.h"
#include "encoding/WavConvertor.h"
#include "project/Track.h"

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
            return std::make_unique<Mp3LameConvertor>();
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
