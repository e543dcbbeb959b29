// Every page of the wizard in French and in German: each text of the page speaks the language,
// none is cut off by its control, and a picture of each page goes to the build's artefacts.
#include "app/MainComponent.h"
#include "app/Page.h"
#include "app/TextFit.h"
#include "capture/Page1.h"
#include "encoding/Page3.h"
#include "project/Project.h"
#include "support/FakeDialogs.h"
#include "support/Snapshots.h"
#include "support/TestHelpers.h"

#include <gtest/gtest.h>

namespace
{
juce::File shippedLanguageFile (const juce::String& code)
{
    return juce::File (GROOVESMITH_SOURCE_DIR).getChildFile ("resources/lang/lang-" + code + ".txt");
}

/** The texts a component and its visible children show. */
void collectShownTexts (juce::Component& component, juce::StringArray& texts)
{
    if (auto* label = dynamic_cast<juce::Label*> (&component))
        texts.add (label->getText());
    else if (auto* button = dynamic_cast<juce::Button*> (&component))
        texts.add (button->getButtonText());
    else if (auto* group = dynamic_cast<juce::GroupComponent*> (&component))
        texts.add (group->getText());

    for (auto* child : component.getChildren())
        if (child->isVisible())
            collectShownTexts (*child, texts);
}

/**
    The wizard in the language of a shipped language file. The file is copied beside the test
    program under a code of the test's own, so that no other test finds a "fr" or "de" file there.
*/
class TranslatedPages : public ::testing::TestWithParam<const char*>
{
protected:
    void SetUp() override
    {
        code = GetParam();
        const auto ownCode = code + "-" + juce::String (juce::Random::getSystemRandom().nextInt (1000000));
        copied = Project::programFolder().getChildFile ("lang-" + ownCode + ".txt");
        ASSERT_TRUE (shippedLanguageFile (code).copyFileTo (copied));
        strings = std::make_unique<juce::LocalisedStrings> (copied, false);
        {
            Project settingsWriter;
            settingsWriter.getSettings().setValue ("lang", ownCode);
        }

        window.setSize (435, 380);
        wizard = std::make_unique<MainComponent> (&window);
        wizard->quitProgram = [] {};
        wizard->setSize (435, 380);
    }

    void TearDown() override
    {
        wizard.reset();
        copied.deleteFile();
    }

    void showPage (int index)
    {
        for (auto* page : MainComponent::pages)
            page->setVisible (false);
        MainComponent::currentPage = index;
        MainComponent::pages[(size_t) index]->setVisible (true);
        wizard->updateButtons();
        wizard->updateTitle();
    }

    /** Checks what the wizard shows now and saves its picture as "<code>-<name>.png". */
    void checkAndSave (const juce::String& name)
    {
        SCOPED_TRACE (name.toStdString());

        const auto fit = TextFit::check (*wizard);
        EXPECT_TRUE (fit.cutOff.isEmpty()) << "cut off:\n" << fit.cutOff.joinIntoString ("\n");
        EXPECT_TRUE (fit.shrunk.isEmpty()) << "made smaller:\n" << fit.shrunk.joinIntoString ("\n");
        EXPECT_TRUE (fit.overlapping.isEmpty()) << "running into each other:\n"
                                                << fit.overlapping.joinIntoString ("\n");
        if (! fit.squeezed.isEmpty())
            std::cout << "squeezed to fit (" << code << ", " << name << "):\n"
                      << fit.squeezed.joinIntoString ("\n") << std::endl;

        // No text of the program is left in English, where the language file has another word.
        juce::StringArray texts;
        collectShownTexts (*wizard, texts);
        EXPECT_GT (texts.size(), 4) << "the page shows no texts";
        for (const auto& text : texts)
            EXPECT_EQ (strings->translate (text), text) << "shown in English: \"" << text << "\"";

        EXPECT_EQ (window.getName(), strings->translate ("Groovesmith -- Page ") +
                                         juce::String (MainComponent::currentPage + 1) + strings->translate (" / 7"));

        const auto file = saveSnapshot (*wizard, "language-" + code + "-" + name);
        EXPECT_TRUE (file.existsAsFile());
    }

    juce::String code;
    juce::File copied;
    std::unique_ptr<juce::LocalisedStrings> strings;
    FakeDialogs dialogs;
    juce::Component window;
    std::unique_ptr<MainComponent> wizard;
};
} // namespace

TEST_P (TranslatedPages, everyPageSpeaksTheLanguageAndNoTextIsCutOff)
{
    // The words that show the language is there at all, before the pages are checked one by one.
    EXPECT_NE (wizard->nextButton.getButtonText(), "Next");
    EXPECT_EQ (wizard->nextButton.getButtonText(), strings->translate ("Next"));
    EXPECT_EQ (window.getName(), code == "fr" ? "Groovesmith -- Étape 1 sur 7" : "Groovesmith -- Schritt 1 von 7");

    const char* const names[] = { "1-project", "2-setup", "3-album", "4-capture", "5-tracks", "6-format", "7-final" };
    for (int index = 0; index < 7; ++index)
    {
        showPage (index);
        checkAndSave (names[index]);
    }
}

TEST_P (TranslatedPages, theCapturePageCountsTracksInTheLanguage)
{
    showPage (3);
    wizard->page1->actionListenerCallback ("TRACK TIME " + juce::String (44100 * 754));
    checkAndSave ("4-capture-counting");
}

TEST_P (TranslatedPages, theFormatPageShowsTheLameOptionsInTheLanguage)
{
    showPage (5);
    wizard->page3->formatCombo.setSelectedId (formatMp3Lame, juce::sendNotificationSync);
    ASSERT_TRUE (wizard->page3->vbrToggle.isVisible());
    checkAndSave ("6-format-mp3");

    wizard->page3->vbrToggle.setToggleState (false, juce::sendNotificationSync);
    wizard->page3->qualityCombo.setSelectedId (128, juce::sendNotificationSync);
    checkAndSave ("6-format-mp3-cbr");
}

TEST_P (TranslatedPages, theFormatPagesExtrasTogglesSpeakTheLanguageAndFit)
{
    showPage (5);
    auto& page = *wizard->page3;
    const std::pair<juce::ToggleButton*, const char*> toggles[] = { { &page.coverToggle, "Cover inside the files" },
                                                                    { &page.replayGainToggle, "ReplayGain" },
                                                                    { &page.playlistToggle, "Playlist" } };
    for (const auto& [toggle, english] : toggles)
    {
        EXPECT_TRUE (toggle->isVisible()) << english;
        EXPECT_EQ (toggle->getButtonText(), strings->translate (english));
    }
    EXPECT_NE (page.coverToggle.getButtonText(), "Cover inside the files");

    // checkAndSave finds every visible text of the page, the toggles' too.
    for (const auto format : { formatFlac, formatMp3Lame })
    {
        page.formatCombo.setSelectedId (format, juce::sendNotificationSync);
        checkAndSave (format == formatFlac ? "6-format-extras" : "6-format-extras-mp3");
    }
}

TEST_P (TranslatedPages, theLastPageOfAnEncodeProjectSpeaksTheLanguage)
{
    wizard->getProject().projectType = encodeProject;
    showPage (5);
    checkAndSave ("6-format-encode");
    showPage (6);
    checkAndSave ("7-final-encode");
}

INSTANTIATE_TEST_SUITE_P (FrenchAndGerman, TranslatedPages, ::testing::Values ("fr", "de"));
