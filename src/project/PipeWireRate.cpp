#include "project/PipeWireRate.h"

#include <cstdlib>

juce::String PipeWireRate::propertiesWith (const juce::String& existing, int rate)
{
    const auto request = "node.force-rate=" + juce::String (rate);
    auto inner = existing.trim();
    if (inner.isEmpty())
        return request;

    // The user's own choice of rate wins.
    if (inner.contains ("node.force-rate") || inner.contains ("node.rate"))
        return existing;

    // The properties are an object, with or without its braces.
    if (inner.startsWithChar ('{') && inner.endsWithChar ('}'))
        inner = inner.substring (1, inner.length() - 1).trim();

    return "{ " + (inner.isEmpty() ? request : inner + " " + request) + " }";
}

void PipeWireRate::askFor (int rate)
{
#if JUCE_LINUX || JUCE_BSD
    const auto* current = std::getenv (propertiesVariable);
    const auto wanted = propertiesWith (current != nullptr ? juce::String::fromUTF8 (current) : juce::String(), rate);
    setenv (propertiesVariable, wanted.toRawUTF8(), 1);
#else
    juce::ignoreUnused (rate);
#endif
}
