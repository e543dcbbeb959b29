// The French and German language files translate every text that the program passes through its
// translation, and JUCE's reader takes their keys back exactly as the program writes them.
#include "app/TranslatableTexts.h"
#include "project/Project.h"

#include <gtest/gtest.h>

namespace
{
juce::File sourceFolder()
{
    return juce::File (GROOVESMITH_SOURCE_DIR).getChildFile ("src");
}

juce::File languageFile (const juce::String& code)
{
    return juce::File (GROOVESMITH_SOURCE_DIR).getChildFile ("resources/lang/lang-" + code + ".txt");
}

/** Shows a text on one line, its line breaks as \n, for a readable failure. */
juce::String oneLine (const juce::String& text)
{
    return "\"" + text.replace ("\n", "\\n") + "\"";
}

/** Whitespace and double quotes at the ends of a text, which the translation must keep, since the
    program joins it to other texts: "Groovesmith -- Page " + number, "\"" + path + "\" exists...". */
juce::String leadingEdge (const juce::String& text)
{
    return text.substring (0, text.length() - text.trimCharactersAtStart (" \n\t\"").length());
}

juce::String trailingEdge (const juce::String& text)
{
    return text.substring (text.trimCharactersAtEnd (" \n\t\"").length());
}

/** The indirect paths to the translation: each is fed by texts marked with NEEDS_TRANS, or is
    itself a helper whose callers give it literals. */
const std::set<juce::String> knownIndirectCalls = {
    // The project's translation, and the small helpers that pass a text on to it.
    "project/Project.cpp: text",
    "editing/TrackStreaming.cpp: text",
    "editing/FiltersProgressThread.cpp: text",
    "encoding/CopyMyFile.cpp: text",
    "capture/Page1.cpp: text",
    "editing/Page2.cpp: text",
    "editing/SongCutter.cpp: text",
    "editing/TrackList.cpp: text",
    // Marked texts held in tables and variables.
    "app/MainComponent.cpp: message",
    "app/MainComponent.cpp: text",
    "app/MainComponent.cpp: tooltip",
    "capture/AudioCallback.cpp: text",
    "capture/Page1.cpp: mark.text",
    "encoding/AlbumPage.cpp: frontHintText",
    "encoding/AlbumPage.cpp: backHintText",
    "encoding/AlbumPage.cpp: hintText",
    "encoding/Page3.cpp: format.text",
    "encoding/Page3.cpp: entry.text",
    "encoding/Page3.cpp: descriptionOf(format)",
};

class LanguageFile : public ::testing::TestWithParam<const char*>
{
};
} // namespace

//==============================================================================
TEST (TranslatableTexts, theScannerFindsTextsInEveryFormTheProgramWritesThem)
{
    const juce::String source = R"code(
#include "not/a/text.h"
#define SHOWN "nor this"
namespace
{
const char* const hint = NEEDS_TRANS ("Drag'n'drop\nhere");
const Entry table[] = { { 1, NEEDS_TRANS ("wav") }, { 2, "never translated" } };
juce::String translate (const Project* project, const juce::String& text)
{
    return project->translate (text);
}
} // namespace

void Page::build()
{
    const auto tr = [this] (const char* text) { return project->translate (text); };
    label.setText (project->translate ("Groovesmith -- Page ") + juce::String (1) + project->translate (" / 7"));
    title = translate (project, "Splitting...");
    other.setText (tr ("Test"));
    // project->translate ("in a comment")
    /* project->translate ("in a block comment") */
    shown = project->translate ("Silence threshold calibration : put the needle "
                                "on the vinyl\n"
                                "where there is no sound");
    message = "\"" + path + project->translate ("\" exists, put files there anyway ?");
    counter = project->translate ("Track ") + juce::String (n) + project->translate (" (") + time +
              project->translate (")");
    error = project->translate ("Can't convert audio files !\nLeavings wav files as is:\n") + failed;
    escaped = project->translate ("tab\there, back\\slash, \x41 and \101");
    raw = project->translate (R"(raw "text")");
    plain = "project->translate (\"inside a string\")";
    button.setButtonText (project->translate (hint));
    description.setText (project->translate (descriptionOf (format)));
    sign = project->translate (count > 1 ? "tracks" : "track");
    number = 1'000;
}
)code";

    TranslatableTexts::Scan scan;
    TranslatableTexts::scanSource ("app/Page.cpp", source, scan);

    const std::set<juce::String> expected = {
        "Drag'n'drop\nhere",
        "wav",
        "Groovesmith -- Page ",
        " / 7",
        "Splitting...",
        "Test",
        "Silence threshold calibration : put the needle on the vinyl\nwhere there is no sound",
        "\" exists, put files there anyway ?",
        "Track ",
        " (",
        ")",
        "Can't convert audio files !\nLeavings wav files as is:\n",
        "tab\there, back\\slash, A and A",
        "raw \"text\"",
        "tracks",
        "track",
    };
    EXPECT_EQ (scan.texts, expected);

    const std::set<juce::String> indirect = { "app/Page.cpp: text", "app/Page.cpp: hint",
                                              "app/Page.cpp: descriptionOf(format)" };
    EXPECT_EQ (scan.indirectCalls, indirect);
}

TEST (TranslatableTexts, theProgramHasManyTextsToTranslate)
{
    const auto scan = TranslatableTexts::scanFolder (sourceFolder());

    // A few of every kind: a plain literal, a joined one, a marked table entry, a help text, a
    // key that begins with a double quote, and a text of the capture page's own helper.
    for (const auto* text :
         { "Rip Vinyls", "Silence threshold calibration", "mp3 (lame)", "Quit", "\" exists, put files there anyway ?",
           "Param", "No more stream detected", "Drag'n'drop\nfront cover\nhere", "Copying current track...", "\nto\n" })
    {
        const bool found = std::any_of (scan.texts.begin(), scan.texts.end(),
                                        [text] (const juce::String& t) { return t.startsWith (text); });
        EXPECT_TRUE (found) << oneLine (text);
    }
    EXPECT_GT (scan.texts.size(), 150u);
}

TEST (TranslatableTexts, everyIndirectPathToTheTranslationIsKnown)
{
    const auto scan = TranslatableTexts::scanFolder (sourceFolder());

    for (const auto& call : scan.indirectCalls)
        EXPECT_TRUE (knownIndirectCalls.count (call) == 1)
            << "a text reaches the translation through " << call
            << ": mark the texts that reach it with NEEDS_TRANS where they are written, then add the call to "
               "knownIndirectCalls";

    for (const auto& call : knownIndirectCalls)
        EXPECT_TRUE (scan.indirectCalls.count (call) == 1) << call << " is gone: take it out of knownIndirectCalls";
}

//==============================================================================
TEST_P (LanguageFile, translatesEveryTextOfTheProgram)
{
    const auto file = languageFile (GetParam());
    ASSERT_TRUE (file.existsAsFile()) << file.getFullPathName();

    const juce::LocalisedStrings strings (file, false);
    const auto scan = TranslatableTexts::scanFolder (sourceFolder());
    const juce::String missing = "\x01missing";

    for (const auto& text : scan.texts)
    {
        const auto translation = strings.translate (text, missing);
        EXPECT_NE (translation, missing) << GetParam() << " lacks " << oneLine (text);
        if (translation == missing)
            continue;

        EXPECT_EQ (leadingEdge (translation), leadingEdge (text)) << oneLine (text) << " -> " << oneLine (translation);
        EXPECT_EQ (trailingEdge (translation), trailingEdge (text))
            << oneLine (text) << " -> " << oneLine (translation);
    }
}

TEST_P (LanguageFile, holdsNoTextThatTheProgramDoesNotTranslate)
{
    const juce::LocalisedStrings strings (languageFile (GetParam()), false);
    const auto scan = TranslatableTexts::scanFolder (sourceFolder());

    const auto keys = strings.getMappings().getAllKeys();
    for (const auto& key : keys)
        EXPECT_TRUE (scan.texts.count (key) == 1) << GetParam() << " holds " << oneLine (key);

    // Texts that stay in English, whatever the language.
    for (const auto* text : { "Groove Smith : Error", "Save elsewhere", "Success" })
        EXPECT_FALSE (keys.contains (text)) << text;
}

TEST_P (LanguageFile, namesItsLanguageAndCountriesAndReadsEveryLineBack)
{
    const auto file = languageFile (GetParam());
    const juce::LocalisedStrings strings (file, false);
    EXPECT_TRUE (strings.getLanguageName().isNotEmpty());
    EXPECT_FALSE (strings.getCountryCodes().isEmpty());

    // Every entry line gives one key: no line is lost to a quote that the reader takes for the end.
    auto lines = juce::StringArray::fromLines (file.loadFileAsString());
    int entries = 0;
    for (const auto& line : lines)
        if (line.trim().startsWithChar ('"'))
            ++entries;
    EXPECT_EQ (strings.getMappings().size(), entries);
}

INSTANTIATE_TEST_SUITE_P (FrenchAndGerman, LanguageFile, ::testing::Values ("fr", "de"));

TEST (LanguageFiles, keysWithQuotesAndLineBreaksReadBackExactly)
{
    for (const auto* code : { "fr", "de" })
    {
        const juce::LocalisedStrings strings (languageFile (code), false);
        for (const auto* key : { "\" exists, put files there anyway ?", "\" does not exist. Create it ?", "\nto\n",
                                 "\nat ", "Tracklist will be lost !\nDo you wish to save it ?",
                                 "Can't convert audio files !\nLeavings wav files as is:\n" })
        {
            const auto translation = strings.translate (key, {});
            EXPECT_TRUE (translation.isNotEmpty()) << code << " " << oneLine (key);
            EXPECT_EQ (translation.startsWithChar ('"'), juce::String (key).startsWithChar ('"')) << code;
            EXPECT_EQ (translation.contains ("\\"), false) << code << " " << oneLine (translation);
        }
    }
}
