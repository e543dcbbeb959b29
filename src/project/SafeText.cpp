#include "project/SafeText.h"

namespace SafeText
{
juce::String fromBytes (const void* data, size_t size)
{
    const auto* bytes = static_cast<const juce::uint8*> (data);

    if (size == 0)
        return {};

    if (juce::CharPointer_UTF8::isValidString (static_cast<const char*> (data), (int) size))
        return juce::String::fromUTF8 (static_cast<const char*> (data), (int) size);

    juce::MemoryOutputStream valid;

    for (size_t i = 0; i < size;)
    {
        const auto lead = bytes[i];
        const size_t length = lead < 0x80           ? 1
                              : (lead >> 5) == 0x6  ? 2
                              : (lead >> 4) == 0xe  ? 3
                              : (lead >> 3) == 0x1e ? 4
                                                    : 0;
        bool ok = length > 0 && i + length <= size;

        for (size_t k = 1; ok && k < length; ++k)
            ok = (bytes[i + k] & 0xc0) == 0x80;

        if (ok && juce::CharPointer_UTF8::isValidString (reinterpret_cast<const char*> (bytes + i), (int) length))
        {
            valid.write (bytes + i, length);
            i += length;
        }
        else
        {
            valid << juce::String::charToString (0xfffd);
            ++i;
        }
    }

    return juce::String::fromUTF8 (static_cast<const char*> (valid.getData()), (int) valid.getDataSize());
}

juce::String fromFile (const juce::File& file)
{
    juce::MemoryBlock content;

    if (! file.existsAsFile() || ! file.loadFileAsData (content))
        return {};

    const auto* bytes = static_cast<const juce::uint8*> (content.getData());
    const auto size = content.getSize();

    // JUCE's own reading of UTF-16 builds each character itself and is safe.
    if (size >= 2 && ((bytes[0] == 0xff && bytes[1] == 0xfe) || (bytes[0] == 0xfe && bytes[1] == 0xff)))
        return juce::String::createStringFromData (content.getData(), (int) content.getSize());

    // A UTF-8 byte-order mark is no part of the text.
    if (size >= 3 && bytes[0] == 0xef && bytes[1] == 0xbb && bytes[2] == 0xbf)
        return fromBytes (bytes + 3, size - 3);

    return fromBytes (bytes, size);
}
} // namespace SafeText
