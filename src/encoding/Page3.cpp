#include "encoding/Page3.h"

#include "project/Dialogs.h"
#include "project/Project.h"

namespace
{
struct Entry
{
    int id;
    const char* text;
};

// The order the user sees; the id is the format number.
const Entry formats[] = { { formatWav, NEEDS_TRANS ("wav") },
                          { formatMp3Lame, NEEDS_TRANS ("mp3 (lame)") },
                          { formatMp3Itunes, NEEDS_TRANS ("mp3 (iTunes)") },
                          { formatAacItunes, NEEDS_TRANS ("AAC (iTunes)") },
                          { formatAppleLosslessItunes, NEEDS_TRANS ("Apple Lossless (iTunes)") },
                          { formatOgg, NEEDS_TRANS ("ogg") },
                          { formatFlac, NEEDS_TRANS ("flac") },
                          { formatAiff, NEEDS_TRANS ("aiff") } };

// VBR levels 0 to 9; a combo id cannot be 0, so level 0 has the id 10.
const Entry vbrQualities[] = { { 10, NEEDS_TRANS ("0 - best quality") },
                               { 1, NEEDS_TRANS ("1") },
                               { 2, NEEDS_TRANS ("2 - recommended") },
                               { 3, NEEDS_TRANS ("3") },
                               { 4, NEEDS_TRANS ("4") },
                               { 5, NEEDS_TRANS ("5") },
                               { 6, NEEDS_TRANS ("6") },
                               { 7, NEEDS_TRANS ("7") },
                               { 8, NEEDS_TRANS ("8") },
                               { 9, NEEDS_TRANS ("9 - smaller file") } };

// Constant rates; the id is the rate in kbit/s.
const Entry cbrQualities[] = { { 320, NEEDS_TRANS ("320kbps - best quality") },
                               { 256, NEEDS_TRANS ("256kbps") },
                               { 224, NEEDS_TRANS ("224kbps") },
                               { 192, NEEDS_TRANS ("192kbps - recommended") },
                               { 160, NEEDS_TRANS ("160kbps") },
                               { 128, NEEDS_TRANS ("128kbps - cd quality") } };

constexpr int recommendedVbr = 2;
constexpr int recommendedCbr = 192;

const char* const lameChooserFilter =
#if JUCE_WINDOWS
    "lame_enc.dll";
#elif JUCE_MAC
    "libmp3lame*.dylib";
#else
    "libmp3lame.so*";
#endif
} // namespace

Page3::Page3 (Project* projectToUse)
    : Page ("Page3", projectToUse)
{
    questionLabel.setText (project->translate ("Which format would you like to save your tracks in?"),
                           juce::dontSendNotification);
    questionLabel.setJustificationType (juce::Justification::centred);
    descriptionLabel.setJustificationType (juce::Justification::centred);

    for (const auto& format : formats)
        formatCombo.addItem (project->translate (format.text), format.id);

    keepToggle.setButtonText (project->translate ("Keep Original wave files"));
    keepToggle.setTooltip (project->translate ("Keep Original wave files"));
    numbersToggle.setButtonText (project->translate ("Prepend Track Numbers"));
    numbersToggle.setTooltip (project->translate ("Track numbers will be added to filenames"));
    parametersGroup.setText (project->translate ("Encoding parameters"));
    vbrToggle.setButtonText (project->translate ("VBR (recommended)"));
    qualityLabel.setText (project->translate ("Quality :"), juce::dontSendNotification);

    coverToggle.setButtonText (project->translate ("Cover inside the files"));
    coverToggle.setTooltip (
        project->translate ("Put the front cover inside each FLAC, Ogg and MP3 file, where players look for it"));
    replayGainToggle.setButtonText (project->translate ("ReplayGain"));
    replayGainToggle.setTooltip (
        project->translate ("Write ReplayGain values, so that every track plays at the same loudness"));
    playlistToggle.setButtonText (project->translate ("Playlist"));
    playlistToggle.setTooltip (project->translate ("Write a playlist of the album beside its tracks"));

    // The group only frames the LAME options; they are children of the page.
    for (auto* component : std::initializer_list<juce::Component*>{
             &questionLabel, &formatCombo, &descriptionLabel, &keepToggle, &numbersToggle, &parametersGroup, &vbrToggle,
             &qualityLabel, &qualityCombo, &coverToggle, &replayGainToggle, &playlistToggle })
        addAndMakeVisible (component);

    lameLocated = project->lameLibrary.existsAsFile();

    keepToggle.setToggleState (project->keepWaves, juce::dontSendNotification);
    numbersToggle.setToggleState (project->addTrackNumbers, juce::dontSendNotification);
    vbrToggle.setToggleState (project->lameVbr, juce::dontSendNotification);
    coverToggle.setToggleState (project->embedCover, juce::dontSendNotification);
    replayGainToggle.setToggleState (project->replayGain, juce::dontSendNotification);
    playlistToggle.setToggleState (project->writePlaylist, juce::dontSendNotification);
    for (auto* button : allToggles())
        button->addListener (this);

    formatCombo.setSelectedId (project->outputFormat, juce::dontSendNotification);
    formatCombo.addListener (this);
    qualityCombo.addListener (this);

    // The description, what shows and the quality list follow the saved choices from the start.
    comboBoxChanged (&formatCombo);
    buttonClicked (&vbrToggle);
}

Page3::~Page3()
{
    for (auto* button : allToggles())
        button->removeListener (this);
    formatCombo.removeListener (this);
    qualityCombo.removeListener (this);
}

void Page3::resized()
{
    questionLabel.setBounds (60, 50, 320, 50);
    formatCombo.setBounds (120, 95, 180, 25);
    descriptionLabel.setBounds (80, 120, 300, 50);
    keepToggle.setBounds (15, 310, 180, 25);
    numbersToggle.setBounds (250, 310, 180, 25);
    parametersGroup.setBounds (80, 180, 270, 130);
    vbrToggle.setBounds (105, 200, 220, 25);
    qualityLabel.setBounds (105, 230, 220, 25);
    qualityCombo.setBounds (100, 260, 220, 30);

    // The album's extras keep to the page's right margin, where it is free: beside the format
    // combo, and the column right of the LAME options.
    replayGainToggle.setBounds (310, 100, 125, 20);
    coverToggle.setBounds (350, 176, 85, 60);
    playlistToggle.setBounds (350, 242, 85, 60);
}

std::array<juce::ToggleButton*, 6> Page3::allToggles()
{
    return { &keepToggle, &numbersToggle, &vbrToggle, &coverToggle, &replayGainToggle, &playlistToggle };
}

bool Page3::looksLikeLameLibrary (const juce::String& path)
{
#if JUCE_WINDOWS
    return path.endsWithIgnoreCase ("dll");
#elif JUCE_MAC
    return path.endsWithIgnoreCase (".dylib");
#else
    // "libmp3lame.so", "libmp3lame.so.0", "libmp3lame.so.0.0.0"
    const auto name = juce::File::isAbsolutePath (path) ? juce::File (path).getFileName() : path;
    const auto at = name.toLowerCase().lastIndexOf (".so");
    if (at < 0)
        return false;

    const auto version = name.substring (at + 3);
    if (version.isEmpty())
        return true;

    if (! version.startsWithChar ('.'))
        return false;

    for (const auto& part : juce::StringArray::fromTokens (version.substring (1), ".", {}))
        if (part.isEmpty() || ! part.containsOnly ("0123456789"))
            return false;

    return ! version.endsWithChar ('.');
#endif
}

const char* Page3::descriptionOf (int format)
{
    switch (format)
    {
        case formatAacItunes:
            return NEEDS_TRANS ("Convert to AAC using iTunes");
        case formatAppleLosslessItunes:
            return NEEDS_TRANS ("Convert to Apple Lossless using iTunes");
        case formatAiff:
            return NEEDS_TRANS ("Convert to AIFF format");
        case formatOgg:
            return NEEDS_TRANS ("Convert to OGG format");
        case formatFlac:
            return NEEDS_TRANS ("Convert to FLAC format");
        case formatMp3Itunes:
            return NEEDS_TRANS ("Convert to MP3 using iTunes");
        case formatMp3Lame:
            return NEEDS_TRANS ("Convert to MP3 using Lame (you need to specify where the lame executable is)");
        case formatWav:
        default:
            return NEEDS_TRANS ("Leave tracks in wav format");
    }
}

void Page3::comboBoxChanged (juce::ComboBox* combo)
{
    if (combo == &formatCombo)
    {
        formatChanged();
    }
    else if (combo == &qualityCombo)
    {
        project->setLameVbr (vbrToggle.getToggleState());
        project->setLameQuality (qualityCombo.getSelectedId());
    }
}

void Page3::formatChanged()
{
    const int format = formatCombo.getSelectedId();
    project->setOutputFormat (format);
    showLameParameters (false);

    descriptionLabel.setText (project->translate (descriptionOf (format)), juce::dontSendNotification);
    if (format < formatWav || format > formatMp3Lame)
    {
        // A number from the settings that names no format: WAV it is, and the combo says so.
        project->setOutputFormat (formatWav);
        formatCombo.setSelectedId (formatWav, juce::dontSendNotification);
    }

    if (format != formatMp3Lame)
        return;

    const auto library = project->lameLibrary;
    if (! lameLocated && (! library.existsAsFile() || ! looksLikeLameLibrary (library.getFullPathName())))
    {
        FileRequest request;
        request.mode = FileRequest::Mode::openFile;
        request.title = project->translate ("Choose Lame's location");
        request.initial = juce::File::getCurrentWorkingDirectory();
        request.filter = lameChooserFilter;

        juce::File chosen;
        if (Dialogs::get().chooseFile (request, chosen))
        {
            project->setLameLibrary (chosen);
            lameLocated = true;
        }
    }

    // A cancelled chooser leaves MP3 chosen: the encode is where a missing library fails.
    showLameParameters (true);
}

void Page3::showLameParameters (bool shouldShow)
{
    for (auto* component :
         std::initializer_list<juce::Component*>{ &parametersGroup, &qualityLabel, &vbrToggle, &qualityCombo })
        component->setVisible (shouldShow);
}

void Page3::fillQualityList (bool vbr)
{
    qualityCombo.clear (juce::dontSendNotification);
    if (vbr)
    {
        for (const auto& entry : vbrQualities)
            qualityCombo.addItem (project->translate (entry.text), entry.id);
    }
    else
    {
        for (const auto& entry : cbrQualities)
            qualityCombo.addItem (project->translate (entry.text), entry.id);
    }
}

void Page3::buttonClicked (juce::Button* button)
{
    if (button == &vbrToggle)
        vbrClicked();
    else if (button == &keepToggle)
        project->setKeepWaves (keepToggle.getToggleState());
    else if (button == &numbersToggle)
        project->setAddTrackNumbers (numbersToggle.getToggleState());
    else if (button == &coverToggle)
        project->setEmbedCover (coverToggle.getToggleState());
    else if (button == &replayGainToggle)
        project->setReplayGain (replayGainToggle.getToggleState());
    else if (button == &playlistToggle)
        project->setWritePlaylist (playlistToggle.getToggleState());
}

void Page3::vbrClicked()
{
    const bool vbr = vbrToggle.getToggleState();
    fillQualityList (vbr);

    // A switch between the modes lands on the recommended entry; within a mode the saved one stays.
    int wanted;
    if (vbr)
        wanted = ! project->lameVbr ? recommendedVbr : (project->lameQuality == 0 ? 10 : project->lameQuality);
    else
        wanted = project->lameVbr ? recommendedCbr : project->lameQuality;

    // A saved number that the list does not hold falls back to the recommended entry.
    if (qualityCombo.indexOfItemId (wanted) < 0)
        wanted = vbr ? recommendedVbr : recommendedCbr;

    qualityCombo.setSelectedId (wanted, juce::dontSendNotification);

    project->setLameVbr (vbr);
    project->setLameQuality (qualityCombo.getSelectedId());
}
