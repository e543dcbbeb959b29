#pragma once

#include <juce_core/juce_core.h>

#include <memory>

/**
    The tags of a finished FLAC, Ogg Vorbis or MP3 file, opened once to add what players look
    for beyond the album's own fields: the front cover as a picture (a FLAC PICTURE block, an
    Ogg METADATA_BLOCK_PICTURE comment, an ID3v2 APIC frame) and texts such as the ReplayGain
    values (FLAC and Ogg comments, ID3v2 TXXX frames). Nothing reaches the file before `save`.
*/
class FinishedFileTags
{
public:
    /** Opens `file` as the format number says; other formats, and files TagLib cannot read,
        stay closed. */
    FinishedFileTags (const juce::File& file, int format);
    ~FinishedFileTags();

    /** True for the formats that can take pictures and these texts. */
    static bool formatTakesTags (int format);

    bool isOpen() const;

    /** What a picture is, as the tag records it beside its bytes. */
    struct Picture
    {
        juce::MemoryBlock bytes;
        juce::String mimeType;
        int width = 0;
        int height = 0;
        int colourDepth = 0;
    };

    /** The picture becomes the file's front cover, in place of any front cover it had; other
        pictures stay. */
    void setFrontCover (const Picture& picture);

    /** Sets the text field `key`, replacing any value it had, whatever the case of its name. */
    void setText (const juce::String& key, const juce::String& value);

    /** Writes the changes into the file; false when they could not be written. */
    bool save();

private:
    struct Opened;
    std::unique_ptr<Opened> opened;

    JUCE_DECLARE_NON_COPYABLE (FinishedFileTags)
};
