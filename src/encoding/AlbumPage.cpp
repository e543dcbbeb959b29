#include "encoding/AlbumPage.h"

#include "project/Project.h"

namespace
{
const char* const frontHintText = NEEDS_TRANS ("Drag'n'drop\nfront cover\nhere");
const char* const backHintText = NEEDS_TRANS ("Drag'n'drop\nback cover\nhere");
} // namespace

AlbumPage::AlbumPage (Project* projectToUse)
    : Page ("AlbumPage", projectToUse)
{
    // The frames are placed once, here: the previews and hints sit on them.
    frontGroup.setText (project->translate ("Front"));
    backGroup.setText (project->translate ("Back"));
    frontGroup.setBounds (90, 60, 100, 100);
    backGroup.setBounds (210, 60, 100, 100);

    albumLabel.setText (project->translate ("Album:"), juce::dontSendNotification);
    artistLabel.setText (project->translate ("Artist:"), juce::dontSendNotification);
    yearLabel.setText (project->translate ("Year:"), juce::dontSendNotification);
    genreLabel.setText (project->translate ("Genre:"), juce::dontSendNotification);
    for (auto* label : { &albumLabel, &artistLabel, &yearLabel, &genreLabel })
        label->setJustificationType (juce::Justification::centredRight);

    resetButton.setButtonText (project->translate ("Reset"));
    resetButton.setTooltip (project->translate ("Reset all fields, including covers"));

    frontHint.setText (project->translate (frontHintText), juce::dontSendNotification);
    frontHint.setTooltip (project->translate ("Drop the album's front cover from another window"));
    backHint.setText (project->translate (backHintText), juce::dontSendNotification);
    backHint.setTooltip (project->translate ("Drop the album's back cover from another window"));
    // Small enough for "Drag'n'drop" to keep to one line inside the frame.
    for (auto* hint : { &frontHint, &backHint })
    {
        hint->setJustificationType (juce::Justification::centred);
        hint->setFont (hint->getFont().withHeight (12.0f));
    }

    for (auto* component : std::initializer_list<juce::Component*>{
             &frontGroup, &backGroup, &albumLabel, &artistLabel, &yearLabel, &genreLabel, &albumField, &artistField,
             &yearField, &genreField, &resetButton, &frontPreview, &frontHint, &backPreview, &backHint })
        addAndMakeVisible (component);

    for (auto* field : { &albumField, &artistField, &yearField, &genreField })
        field->addListener (this);
    resetButton.addListener (this);

    frontPreview.selectedFileChanged (project->frontCover);
    backPreview.selectedFileChanged (project->frontCover);
    refresh();
}

AlbumPage::~AlbumPage()
{
    for (auto* field : { &albumField, &artistField, &yearField, &genreField })
        field->removeListener (this);
    resetButton.removeListener (this);
}

void AlbumPage::resized()
{
    albumLabel.setBounds (32, 160, 110, 32);
    artistLabel.setBounds (32, 190, 110, 32);
    yearLabel.setBounds (32, 220, 110, 32);
    genreLabel.setBounds (32, 250, 110, 32);
    albumField.setBounds (150, 160, 200, 32);
    artistField.setBounds (150, 190, 200, 32);
    yearField.setBounds (150, 220, 200, 32);
    genreField.setBounds (150, 250, 200, 32);
    resetButton.setBounds (32, 310, 128, 24);
    frontPreview.setBounds (100, 75, 80, 80);
    frontHint.setBounds (100, 70, 80, 80);
    backPreview.setBounds (220, 75, 80, 80);
    backHint.setBounds (220, 70, 80, 80);
}

void AlbumPage::refresh()
{
    albumField.setText (project->album, false);
    artistField.setText (project->artist, false);
    yearField.setText (project->year, false);
    genreField.setText (project->genre, false);

    // Both previews show the front cover here; the back cover is not read.
    giveFrontCoverTo (frontPreview, frontHint, frontHintText);
    giveFrontCoverTo (backPreview, backHint, backHintText);
}

void AlbumPage::giveFrontCoverTo (ThumbnailComponent& preview, juce::Label& hint, const char* hintText)
{
    preview.selectedFileChanged (project->frontCover);
    if (! preview.getFile().existsAsFile())
        hint.setText (project->translate (hintText), juce::dontSendNotification);
}

void AlbumPage::setFrontCover (const juce::String& path)
{
    setCover (path, frontHint, frontPreview, project->frontCover);
}

void AlbumPage::setBackCover (const juce::String& path)
{
    setCover (path, backHint, backPreview, project->backCover);
}

void AlbumPage::setCover (const juce::String& path, juce::Label& hint, ThumbnailComponent& preview, juce::File& cover)
{
    // Only a full path can name a file; anything else cannot exist.
    if (! juce::File::isAbsolutePath (path) || ! juce::File (path).existsAsFile())
        return;

    const juce::File picture (path);
    hint.setText ({}, juce::dontSendNotification);
    preview.selectedFileChanged (picture);
    cover = picture;
}

void AlbumPage::textEditorTextChanged (juce::TextEditor&)
{
    project->album = albumField.getText();
    project->artist = artistField.getText();
    project->year = yearField.getText();
    project->genre = genreField.getText();
}

void AlbumPage::buttonClicked (juce::Button* button)
{
    if (button != &resetButton)
        return;

    project->clearAlbumData();
    refresh();
}
