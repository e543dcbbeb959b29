#pragma once

#include <juce_core/juce_core.h>

/**
    Asks the desktop's sound server, PipeWire, to run at the capture's rate while the program is
    connected to it. PipeWire's graph runs at 48000 Hz by default and lets a client ask for the
    rate it wants: the program's clients (through PipeWire's JACK library or its ALSA plugin)
    carry the request in their properties. Other sound servers ignore it.
*/
class PipeWireRate
{
public:
    /** Puts the request for `rate` into the properties that PipeWire's clients of this process
        are made with, keeping what the user set there; a rate the user asked for stays. */
    static void askFor (int rate);

    /** The client properties `existing` (as the environment holds them) with the request for
        `rate` added; `existing` unchanged when it already names a rate. */
    static juce::String propertiesWith (const juce::String& existing, int rate);

    /** The name of the environment variable that holds the client properties. */
    static constexpr const char* propertiesVariable = "PIPEWIRE_PROPS";
};
