#pragma once

#include "app/Page.h"
#include "encoding/ThumbnailComponent.h"

/**
    The album page: artist, album, year and genre, and the two cover pictures dropped on the
    window. It keeps nothing of its own: every field is written to the project as it changes.
*/
class AlbumPage : public Page, public juce::Button::Listener, public juce::TextEditor::Listener
{
public:
    explicit AlbumPage (Project* project);
    ~AlbumPage() override;

    void resized() override;

    /** Fills the fields and the previews from the project. Both previews get the front cover. */
    void refresh();

    /** Takes a picture as the front cover; a file that does not exist is ignored. */
    void setFrontCover (const juce::String& path);

    /** Takes a picture as the back cover; a file that does not exist is ignored. */
    void setBackCover (const juce::String& path);

    void textEditorTextChanged (juce::TextEditor& editor) override;
    void buttonClicked (juce::Button* button) override;

    juce::GroupComponent frontGroup{ "artgroup" };
    juce::GroupComponent backGroup{ "artgroup" };
    juce::Label albumLabel{ "albumLbl" };
    juce::Label artistLabel{ "artistLbl" };
    juce::Label yearLabel{ "yearLbl" };
    juce::Label genreLabel{ "styleLbl" };
    juce::TextEditor albumField{ "album" };
    juce::TextEditor artistField{ "artist" };
    juce::TextEditor yearField{ "year" };
    juce::TextEditor genreField{ "genre" };
    juce::TextButton resetButton;
    ThumbnailComponent frontPreview;
    juce::Label frontHint{ "draghere" };
    ThumbnailComponent backPreview;
    juce::Label backHint{ "draghere" };

private:
    void setCover (const juce::String& path, juce::Label& hint, ThumbnailComponent& preview, juce::File& cover);
    void giveFrontCoverTo (ThumbnailComponent& preview, juce::Label& hint, const char* hintText);

    JUCE_DECLARE_NON_COPYABLE_WITH_LEAK_DETECTOR (AlbumPage)
};
