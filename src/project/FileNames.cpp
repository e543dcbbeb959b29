#include "project/FileNames.h"

#include <algorithm>
#include <numeric>

#if JUCE_LINUX || JUCE_MAC || JUCE_BSD
#include <unistd.h>
#endif

namespace FileNames
{
juce::String legal (const juce::String& text)
{
    return text.removeCharacters ("\"#@,;:<>*^|?\\/");
}

int longestName (const juce::File& folder)
{
    auto existing = folder;
    while (! existing.isDirectory() && existing.getParentDirectory() != existing)
        existing = existing.getParentDirectory();

#if JUCE_LINUX || JUCE_MAC || JUCE_BSD
    const auto limit = ::pathconf (existing.getFullPathName().toRawUTF8(), _PC_NAME_MAX);
    if (limit > 0 && limit < longestAnywhere)
        return (int) limit;
#endif

    return longestAnywhere;
}

int bytesOf (const juce::String& text)
{
    return (int) text.getNumBytesAsUTF8();
}

juce::String cutToBytes (const juce::String& text, int maxBytes)
{
    if (bytesOf (text) <= maxBytes)
        return text;

    // Character by character, so that no letter is cut through its bytes.
    auto start = text.getCharPointer();
    auto end = start;
    int bytes = 0;

    while (! end.isEmpty())
    {
        auto next = end;
        const auto character = next.getAndAdvance();
        const auto size = (int) juce::CharPointer_UTF8::getBytesRequiredFor (character);
        if (bytes + size > maxBytes)
            break;

        bytes += size;
        end = next;
    }

    return juce::String (start, end);
}

std::vector<juce::String> shared (std::vector<juce::String> parts, int maxBytes)
{
    maxBytes = juce::jmax (0, maxBytes);

    std::vector<size_t> order (parts.size());
    std::iota (order.begin(), order.end(), size_t (0));
    std::stable_sort (order.begin(), order.end(),
                      [&parts] (size_t a, size_t b) { return bytesOf (parts[a]) < bytesOf (parts[b]); });

    // The shortest first: what a part does not need goes to the longer ones after it.
    auto left = maxBytes;
    auto partsLeft = (int) parts.size();

    for (const auto index : order)
    {
        const auto share = left / partsLeft--;
        parts[index] = cutToBytes (parts[index], share);
        left -= bytesOf (parts[index]);
    }

    return parts;
}

juce::File fitted (const juce::File& file)
{
    const auto folder = file.getParentDirectory();
    const auto name = file.getFileName();
    const auto longest = longestName (folder);

    if (bytesOf (name) <= longest)
        return file;

    const auto extension = file.getFileExtension();
    const auto stem = cutToBytes (file.getFileNameWithoutExtension(), longest - bytesOf (extension));
    return folder.getChildFile (stem + extension);
}
} // namespace FileNames
