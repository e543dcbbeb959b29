#pragma once

#include <juce_core/juce_core.h>

/**
    Whether a file can be written where it is meant to go, found out the way the write itself
    will go: the file is opened for writing, or made and taken away again when there is none
    yet. A look at permissions says too little: an administrator passes them, and a folder on a
    read-only file system, or one the system refuses to anyone, would only fail at the write.
*/
namespace WriteCheck
{
/** True when the file can be written: an existing file is opened for writing and closed again,
    untouched; a missing one is created and deleted at once. A folder, a name no file can take
    and a folder that does not exist all answer false. */
bool canWrite (const juce::File& file);
} // namespace WriteCheck
