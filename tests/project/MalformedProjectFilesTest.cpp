// The settings file, language files and the saved track list, each from the corpus of
// malformed files: the program starts, reads what is really there, and says only what it says.
#include "project/LanguageStrings.h"
#include "project/Project.h"
#include "project/SettingsFileGuard.h"
#include "support/FakeDialogs.h"
#include "support/MalformedCorpus.h"

#include <gtest/gtest.h>

#include <cstring>

namespace
{
using MalformedCorpus::Entry;
using MalformedCorpus::nameOf;

/** Puts the entry where the program looks for the file: a copy, or a folder for a folder. */
void placeAt (const Entry& entry, const juce::File& target)
{
    target.getParentDirectory().createDirectory();
    target.deleteRecursively();

    if (entry.file.isDirectory())
        target.createDirectory();
    else
        entry.file.copyFileTo (target);
}

const Entry& named (const std::vector<Entry>& entries, const juce::String& suffix)
{
    for (const auto& entry : entries)
        if (entry.file.getFileName().endsWith (suffix))
            return entry;

    static const Entry none{};
    ADD_FAILURE() << "no corpus entry " << suffix;
    return none;
}
} // namespace

TEST (MalformedFiles, EverySettingsFileStartsTheProgram)
{
    FakeDialogs dialogs;
    const auto entries = MalformedCorpus::only (MalformedCorpus::make ({ "text" }), { "settings" });
    ASSERT_GE (entries.size(), 15u);
    const auto settings = Project::settingsFileLocation();

    for (const auto& entry : entries)
    {
        const MalformedCorpus::LeftAsFound leftAsFound (entry);
        placeAt (entry, settings);
        int threshold = 0;

        {
            Project project;
            threshold = project.threshold;
        }

        const auto name = entry.file.getFileName();

        // What the file really holds is read; what can't be read gives the default, silently.
        if (name.endsWith ("-valid.settings") || name.endsWith ("-values-200000.settings"))
        {
            EXPECT_EQ (threshold, -40) << nameOf (entry);
        }
        else if (name.endsWith ("-same-value-20000.settings"))
        {
            EXPECT_EQ (threshold, -41) << nameOf (entry);
        }
        else if (name.endsWith ("-same-attribute-200000.settings"))
        {
            EXPECT_EQ (threshold, -42) << nameOf (entry);
        }
        else if (name.contains ("nested") || name.contains ("-names-") || name.endsWith ("-garbage.settings") ||
                 name.endsWith ("-empty.settings"))
        {
            EXPECT_EQ (threshold, -55) << nameOf (entry);
        }

        // Afterwards the file, where it is one, is plain enough to be loaded at once.
        if (settings.existsAsFile())
        {
            juce::MemoryBlock content;
            settings.loadFileAsData (content);
            const auto shape =
                SettingsFileGuard::scan (static_cast<const char*> (content.getData()), content.getSize());
            EXPECT_LE (shape.depth, SettingsFileGuard::maxDepth) << nameOf (entry);
            EXPECT_LE (shape.elements, SettingsFileGuard::maxElements) << nameOf (entry);
            EXPECT_LE (shape.attributes, SettingsFileGuard::maxAttributes) << nameOf (entry);
            EXPECT_LE (shape.names, SettingsFileGuard::maxNames) << nameOf (entry);
        }

        EXPECT_TRUE (dialogs.alerts().empty()) << nameOf (entry);
        settings.deleteRecursively();
    }
}

TEST (MalformedFiles, DeeplyNestedSettingsGiveTheDefaultsAndAPlainFile)
{
    const auto settings = Project::settingsFileLocation();
    settings.getParentDirectory().createDirectory();
    juce::MemoryOutputStream deep;
    deep << "<PROPERTIES><VALUE name=\"threshold\" val=\"-30\"/>";
    for (int i = 0; i < 50000; ++i)
        deep << "<a>";
    for (int i = 0; i < 50000; ++i)
        deep << "</a>";
    deep << "</PROPERTIES>";
    settings.replaceWithData (deep.getData(), deep.getDataSize());

    {
        Project project;
        EXPECT_EQ (project.threshold, -55);
        project.setThreshold (-44);
    }

    Project again;
    EXPECT_EQ (again.threshold, -44);
    settings.deleteFile();
}

TEST (MalformedFiles, SettingsOfTwoHundredThousandValuesKeepTheProgramsOwn)
{
    const auto settings = Project::settingsFileLocation();
    settings.getParentDirectory().createDirectory();
    juce::MemoryOutputStream many;
    many << "<PROPERTIES>\n<VALUE name=\"minsilence\" val=\"5\"/>\n";
    for (int i = 0; i < 200000; ++i)
        many << "<VALUE name=\"other" << i << "\" val=\"" << i << "\"/>\n";
    many << "<VALUE name=\"MinSilence\" val=\"7\"/>\n</PROPERTIES>\n";
    settings.replaceWithData (many.getData(), many.getDataSize());

    Project project;
    // The last value of the name counts, whatever its case; the others are not kept.
    EXPECT_EQ (project.minSilence, 7);
    juce::MemoryBlock content;
    settings.loadFileAsData (content);
    EXPECT_EQ (SettingsFileGuard::scan (static_cast<const char*> (content.getData()), content.getSize()).elements, 2);
    settings.deleteFile();
}

TEST (MalformedFiles, SettingsOfOneElementWithTwoHundredThousandAttributeNamesGiveTheDefaultsAndAPlainFile)
{
    const auto settings = Project::settingsFileLocation();
    settings.getParentDirectory().createDirectory();
    juce::MemoryOutputStream many;
    many << "<PROPERTIES>\n<VALUE name=\"threshold\" val=\"-30\"";
    for (int i = 0; i < 200000; ++i)
        many << " a" << i << "=\"" << i << "\"";
    many << "/>\n</PROPERTIES>\n";
    settings.replaceWithData (many.getData(), many.getDataSize());

    {
        FakeDialogs dialogs;
        Project project;

        // Names past counting are no settings the program wrote: the defaults, silently.
        EXPECT_EQ (project.threshold, -55);
        EXPECT_TRUE (dialogs.alerts().empty());
        project.setMinSilence (4);
    }

    juce::MemoryBlock content;
    settings.loadFileAsData (content);
    const auto shape = SettingsFileGuard::scan (static_cast<const char*> (content.getData()), content.getSize());
    EXPECT_LE (shape.names, 4);
    EXPECT_LE (shape.attributes, 2);

    // The settings go on from there as from any other file.
    Project again;
    EXPECT_EQ (again.minSilence, 4);
    EXPECT_EQ (again.threshold, -55);
    settings.deleteFile();
}

TEST (MalformedFiles, SettingsWithOneNameRepeatedTwoHundredThousandTimesKeepTheProgramsValue)
{
    const auto settings = Project::settingsFileLocation();
    settings.getParentDirectory().createDirectory();
    juce::MemoryOutputStream many;
    many << "<PROPERTIES>\n<VALUE name=\"threshold\" val=\"-30\"";
    for (int i = 0; i < 200000; ++i)
        many << " x=\"" << i << "\"";
    many << "/>\n<VALUE name=\"minsilence\" val=\"6\"/>\n</PROPERTIES>\n";
    settings.replaceWithData (many.getData(), many.getDataSize());

    Project project;
    EXPECT_EQ (project.threshold, -30);
    EXPECT_EQ (project.minSilence, 6);

    // Rewritten with the two values alone.
    juce::MemoryBlock content;
    settings.loadFileAsData (content);
    const auto shape = SettingsFileGuard::scan (static_cast<const char*> (content.getData()), content.getSize());
    EXPECT_EQ (shape.elements, 3);
    EXPECT_EQ (shape.attributes, 2);
    settings.deleteFile();
}

TEST (MalformedFiles, TheScanCountsAttributesAndNamesAsTheParserReadsThem)
{
    const auto shapeOf = [] (const char* text) { return SettingsFileGuard::scan (text, std::strlen (text)); };

    auto shape = shapeOf ("<?xml version=\"1.0\"?><PROPERTIES><VALUE name=\"a b\" val='x=\"y\"'/>"
                          "<VALUE name=\"c\" val=\"d\" extra = \"e\" /><!-- <x y=\"z\"/> --></PROPERTIES>");
    EXPECT_EQ (shape.elements, 3);
    EXPECT_EQ (shape.depth, 2);
    EXPECT_EQ (shape.attributes, 3);
    EXPECT_EQ (shape.names, 5); // PROPERTIES, VALUE, name, val, extra

    // A closing tag names nothing new; an element's own name counts once however often it comes.
    shape = shapeOf ("<a><b/><b/><b></b></a>");
    EXPECT_EQ (shape.elements, 4);
    EXPECT_EQ (shape.names, 2);
    EXPECT_EQ (shape.attributes, 0);

    // The scan gives up once the names are past their limit.
    juce::String names ("<a");
    for (int i = 0; i < 3 * SettingsFileGuard::maxNames; ++i)
        names << " n" << i << "=\"\"";
    names << "/>";
    shape = shapeOf (names.toRawUTF8());
    EXPECT_EQ (shape.names, SettingsFileGuard::maxNames + 1);
}

TEST (MalformedFiles, EveryLanguageFileLoadsOrTranslatesNothing)
{
    const auto entries = MalformedCorpus::only (MalformedCorpus::make ({ "text" }), { "lang" });
    ASSERT_GE (entries.size(), 10u);

    for (const auto& entry : entries)
    {
        const MalformedCorpus::LeftAsFound leftAsFound (entry);
        LanguageStrings strings (entry.file, false);
        const auto cancel = strings.translate ("Cancel");
        EXPECT_TRUE (juce::CharPointer_UTF8::isValidString (cancel.toRawUTF8(), (int) cancel.getNumBytesAsUTF8()))
            << nameOf (entry);

        if (entry.file.getFileName().endsWith ("-valid.lang") || entry.file.getFileName().endsWith ("-utf16.lang"))
        {
            EXPECT_EQ (cancel, "Annuler") << nameOf (entry);
        }
        else if (entry.file.isDirectory() || entry.file.getFileName().endsWith ("-empty.lang"))
        {
            EXPECT_EQ (cancel, "Cancel") << nameOf (entry);
        }
    }

    LanguageStrings big (named (entries, "-pairs-300000.lang").file, false);
    EXPECT_EQ (big.size(), 300000);
    EXPECT_EQ (big.getLanguageName(), "Big");
    EXPECT_EQ (big.translate ("text 299999"), "texte 299999");
    EXPECT_EQ (big.translate ("text 0"), "texte 0");
    EXPECT_EQ (big.translate ("Cancel"), "Cancel");
}

TEST (MalformedFiles, ALanguageLineWithoutItsClosingQuotesIsReadToItsEndAndNoFurther)
{
    // Each line once sent the search for the next quote past the end of the line's text.
    const LanguageStrings strings (juce::String ("\"Cancel\" = \"Annuler\n"
                                                 "\"Splitting...\n"
                                                 "\"Merging...\" = \"\n"
                                                 "\"Ok\"\n"
                                                 "\"Yes\" = \"Oui\"\n"),
                                   false);

    EXPECT_EQ (strings.translate ("Cancel"), "Annuler");
    EXPECT_EQ (strings.translate ("Splitting..."), "Splitting...");
    EXPECT_EQ (strings.translate ("Merging..."), "Merging...");
    EXPECT_EQ (strings.translate ("Ok"), "Ok");
    EXPECT_EQ (strings.translate ("Yes"), "Oui");

    // A file of nine bytes in UTF-16 whose last character is cut.
    const auto file = freshFolder ("cut language").getChildFile ("lang-fr.txt");
    const juce::uint8 bytes[] = { 0xff, 0xfe, '"', 0, 'C', 0, 0xd8, 0xd8, 0xd8 };
    file.replaceWithData (bytes, sizeof (bytes));
    const LanguageStrings cut (file, false);
    EXPECT_EQ (cut.translate ("C"), "C");
}

TEST (MalformedFiles, EverySavedTrackListLoadsWhatExistsAndReportsTheRest)
{
    const auto entries = MalformedCorpus::only (MalformedCorpus::make ({ "text" }), { "gsp" });
    ASSERT_GE (entries.size(), 12u);
    const auto saved = Project::savedTrackListFile();
    FakeDialogs dialogs;
    Project project;

    for (const auto& entry : entries)
    {
        const auto before = MalformedCorpus::fingerprint (entry.file);
        placeAt (entry, saved);
        const auto alertsBefore = dialogs.alerts().size();

        // None of the paths exists: nothing is added, and only a list without lines succeeds.
        project.loadSavedTrackList();
        EXPECT_EQ (project.trackCount(), 0) << nameOf (entry);

        const auto alerts = dialogs.alerts();
        if (alerts.size() > alertsBefore)
        {
            ASSERT_EQ (alerts.size(), alertsBefore + 1) << nameOf (entry);
            const auto& message = alerts.back().message;
            EXPECT_EQ (alerts.back().title, "Groove Smith : Error");
            EXPECT_TRUE (message.startsWith ("Failed to load track(s) : ")) << nameOf (entry);
            EXPECT_TRUE (message.endsWithChar ('\n')) << nameOf (entry);
            EXPECT_TRUE (juce::CharPointer_UTF8::isValidString (message.toRawUTF8(), (int) message.getNumBytesAsUTF8()))
                << nameOf (entry);

            // Each path is cut to 1024 characters.
            juce::StringArray lines;
            lines.addLines (message.fromFirstOccurrenceOf (" : ", false, false));
            for (const auto& line : lines)
                EXPECT_LE (line.length(), 1024) << nameOf (entry);

            // A failed list stays where it was, unchanged.
            EXPECT_EQ (MalformedCorpus::fingerprint (saved), before) << nameOf (entry);
        }

        EXPECT_EQ (MalformedCorpus::fingerprint (entry.file), before) << nameOf (entry);
        project.clearTracks();
        saved.deleteRecursively();
    }
}

TEST (MalformedFiles, FiftyThousandMissingPathsAreAllReported)
{
    FakeDialogs dialogs;
    Project project;
    const auto saved = Project::savedTrackListFile();
    saved.getParentDirectory().createDirectory();

    juce::MemoryOutputStream list;
    for (int i = 0; i < 50000; ++i)
        list << "/nowhere/track " << i << ".wav\r\n";
    saved.replaceWithData (list.getData(), list.getDataSize());

    EXPECT_FALSE (project.loadSavedTrackList());
    ASSERT_EQ (dialogs.alerts().size(), 1u);
    const auto message = dialogs.alerts()[0].message;
    juce::StringArray lines;
    lines.addLines (message.fromFirstOccurrenceOf ("Failed to load track(s) : ", false, false));
    lines.removeEmptyStrings();
    ASSERT_EQ (lines.size(), 50000);
    EXPECT_EQ (lines[0], "/nowhere/track 0.wav");
    EXPECT_EQ (lines[49999], "/nowhere/track 49999.wav");
}

TEST (MalformedFiles, InvalidUtf8InTheTrackListGivesAPathThatIsNotFound)
{
    FakeDialogs dialogs;
    Project project;
    const auto saved = Project::savedTrackListFile();
    saved.getParentDirectory().createDirectory();

    juce::MemoryOutputStream list;
    list << "/";
    for (int i = 0; i < 512; ++i)
        list.writeByte ((char) 0xf0);
    list << "\r\n";
    saved.replaceWithData (list.getData(), list.getDataSize());

    EXPECT_FALSE (project.loadSavedTrackList());
    ASSERT_EQ (dialogs.alerts().size(), 1u);
    const auto message = dialogs.alerts()[0].message;
    EXPECT_EQ (message, "Failed to load track(s) : /" +
                            juce::String::repeatedString (juce::String::charToString (0xfffd), 512) + "\n");
}

TEST (MalformedFiles, ASixteenMegabyteLineIsCutTo1024Characters)
{
    FakeDialogs dialogs;
    Project project;
    const auto saved = Project::savedTrackListFile();
    saved.getParentDirectory().createDirectory();
    juce::MemoryBlock line (16 * 1024 * 1024, false);
    line.fillWith ('a');
    line[0] = '/';
    saved.replaceWithData (line.getData(), line.getSize());

    EXPECT_FALSE (project.loadSavedTrackList());
    ASSERT_EQ (dialogs.alerts().size(), 1u);
    EXPECT_EQ (dialogs.alerts()[0].message,
               "Failed to load track(s) : /" + juce::String::repeatedString ("a", 1023) + "\n");
}
