#pragma once

#include <juce_core/juce_core.h>

/** Format numbers: what a track's file is, and what the encode run writes. */
enum OutputFormat
{
    formatWav = 1,
    formatAacItunes = 2,
    formatAppleLosslessItunes = 3,
    formatAiff = 4,
    formatOgg = 5,
    formatFlac = 6,
    formatMp3Itunes = 7,
    formatMp3Lame = 8
};

enum ProjectType
{
    ripProject = 0,
    encodeProject = 1
};

/** One entry of the track list. Its path is its identity. */
struct Track
{
    juce::String path;
    int format = formatWav;

    /** The format number of a file, from its ending, ignoring case. */
    static int formatOfPath (const juce::String& path);
};
