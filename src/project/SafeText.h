#pragma once

#include <juce_core/juce_core.h>

/** Text from a user's file. juce::String takes UTF-8 on trust, and a broken sequence makes it
    read past the end of its own memory; here every byte that is no part of a valid sequence
    stands for an unknown character instead. */
namespace SafeText
{
juce::String fromBytes (const void* data, size_t size);

/** A whole text file as text: UTF-16 with a byte-order mark as JUCE reads it, anything else as
    checked UTF-8. */
juce::String fromFile (const juce::File& file);
} // namespace SafeText
