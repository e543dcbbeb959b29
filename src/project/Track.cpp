#include "project/Track.h"

int Track::formatOfPath (const juce::String& path)
{
    const auto lower = path.toLowerCase();

    if (lower.endsWith (".wav"))
        return formatWav;
    if (lower.endsWith (".m4a"))
        return formatAacItunes;
    if (lower.endsWith (".al"))
        return formatAppleLosslessItunes;
    if (lower.endsWith (".aiff") || lower.endsWith (".aif"))
        return formatAiff;
    if (lower.endsWith (".ogg"))
        return formatOgg;
    if (lower.endsWith (".flac"))
        return formatFlac;
    if (lower.endsWith (".mp3"))
        return formatMp3Itunes;

    return formatWav;
}
