#include "encoding/FinishedFileTags.h"

#include "project/Track.h"

#include <taglib/attachedpictureframe.h>
#include <taglib/flacfile.h>
#include <taglib/flacpicture.h>
#include <taglib/id3v2tag.h>
#include <taglib/mpegfile.h>
#include <taglib/textidentificationframe.h>
#include <taglib/vorbisfile.h>
#include <taglib/xiphcomment.h>

namespace
{
TagLib::String tagText (const juce::String& text)
{
    return TagLib::String (text.toRawUTF8(), TagLib::String::UTF8);
}

TagLib::ByteVector bytesOf (const juce::MemoryBlock& block)
{
    return TagLib::ByteVector (static_cast<const char*> (block.getData()), (unsigned int) block.getSize());
}

/** A FLAC picture block of the front cover, as FLAC files and Ogg comments hold it. */
TagLib::FLAC::Picture* flacPicture (const FinishedFileTags::Picture& picture)
{
    auto result = std::make_unique<TagLib::FLAC::Picture>();
    result->setType (TagLib::FLAC::Picture::FrontCover);
    result->setMimeType (tagText (picture.mimeType));
    result->setDescription (TagLib::String());
    result->setWidth (picture.width);
    result->setHeight (picture.height);
    result->setColorDepth (picture.colourDepth);
    result->setNumColors (0);
    result->setData (bytesOf (picture.bytes));
    return result.release();
}

/** Removes the front covers of a list of pictures through `remove`, which owns them. */
template <typename Remove>
void removeFrontCovers (TagLib::List<TagLib::FLAC::Picture*> pictures, Remove&& remove)
{
    for (auto* picture : pictures)
        if (picture->type() == TagLib::FLAC::Picture::FrontCover)
            remove (picture);
}
} // namespace

struct FinishedFileTags::Opened
{
    std::unique_ptr<TagLib::FLAC::File> flac;
    std::unique_ptr<TagLib::Ogg::Vorbis::File> ogg;
    std::unique_ptr<TagLib::MPEG::File> mp3;

    TagLib::File& file()
    {
        if (flac != nullptr)
            return *flac;
        if (ogg != nullptr)
            return *ogg;
        return *mp3;
    }

    TagLib::Ogg::XiphComment* comments()
    {
        if (flac != nullptr)
            return flac->xiphComment (true);
        if (ogg != nullptr)
            return ogg->tag();
        return nullptr;
    }
};

FinishedFileTags::FinishedFileTags (const juce::File& file, int format)
{
    if (! formatTakesTags (format) || ! file.existsAsFile())
        return;

    const auto path = file.getFullPathName().toRawUTF8();
    auto candidate = std::make_unique<Opened>();

    // Audio properties are not needed to write tags: the file is not decoded for them.
    if (format == formatFlac)
        candidate->flac = std::make_unique<TagLib::FLAC::File> (path, false);
    else if (format == formatOgg)
        candidate->ogg = std::make_unique<TagLib::Ogg::Vorbis::File> (path, false);
    else
        candidate->mp3 = std::make_unique<TagLib::MPEG::File> (path, false);

    auto& opened = candidate->file();
    if (opened.isOpen() && opened.isValid() && ! opened.readOnly())
        this->opened = std::move (candidate);
}

FinishedFileTags::~FinishedFileTags() = default;

bool FinishedFileTags::formatTakesTags (int format)
{
    return format == formatFlac || format == formatOgg || format == formatMp3Lame;
}

bool FinishedFileTags::isOpen() const
{
    return opened != nullptr;
}

void FinishedFileTags::setFrontCover (const Picture& picture)
{
    if (opened == nullptr)
        return;

    if (opened->flac != nullptr)
    {
        auto& flac = *opened->flac;
        removeFrontCovers (flac.pictureList(),
                           [&flac] (TagLib::FLAC::Picture* old) { flac.removePicture (old, true); });
        flac.addPicture (flacPicture (picture));
    }
    else if (opened->ogg != nullptr)
    {
        auto* comments = opened->ogg->tag();
        removeFrontCovers (comments->pictureList(),
                           [comments] (TagLib::FLAC::Picture* old) { comments->removePicture (old, true); });
        comments->addPicture (flacPicture (picture));
    }
    else
    {
        auto* tag = opened->mp3->ID3v2Tag (true);
        const auto frames = tag->frameList ("APIC");
        for (auto* frame : frames)
            if (auto* old = dynamic_cast<TagLib::ID3v2::AttachedPictureFrame*> (frame))
                if (old->type() == TagLib::ID3v2::AttachedPictureFrame::FrontCover)
                    tag->removeFrame (old, true);

        auto frame = std::make_unique<TagLib::ID3v2::AttachedPictureFrame>();
        frame->setType (TagLib::ID3v2::AttachedPictureFrame::FrontCover);
        frame->setMimeType (tagText (picture.mimeType));
        frame->setPicture (bytesOf (picture.bytes));
        tag->addFrame (frame.release());
    }
}

void FinishedFileTags::setText (const juce::String& key, const juce::String& value)
{
    if (opened == nullptr)
        return;

    if (auto* comments = opened->comments())
    {
        comments->addField (tagText (key.toUpperCase()), tagText (value), true);
        return;
    }

    // ID3v2 keeps such texts in TXXX frames named by their description.
    auto* tag = opened->mp3->ID3v2Tag (true);
    const auto frames = tag->frameList ("TXXX");
    for (auto* frame : frames)
        if (auto* old = dynamic_cast<TagLib::ID3v2::UserTextIdentificationFrame*> (frame))
            if (juce::String::fromUTF8 (old->description().toCString (true)).equalsIgnoreCase (key))
                tag->removeFrame (old, true);

    auto frame = std::make_unique<TagLib::ID3v2::UserTextIdentificationFrame> (TagLib::String::Latin1);
    frame->setDescription (tagText (key.toUpperCase()));
    frame->setText (tagText (value));
    tag->addFrame (frame.release());
}

bool FinishedFileTags::save()
{
    if (opened == nullptr)
        return false;

    // The MP3 file is saved as the album's tags were: ID3v2.4, and an ID3v1 tag kept alike.
    if (opened->mp3 != nullptr)
        return opened->mp3->save();

    return opened->file().save();
}
