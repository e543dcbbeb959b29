// Names made from the user's texts, cut to what the file system takes in bytes, on a whole
// character.
#include "project/FileNames.h"
#include "support/TestHelpers.h"

#include <gtest/gtest.h>

#include <cstring>

namespace
{
const juce::String kanji (juce::CharPointer_UTF8 ("\xe6\xbc\xa2"));                  // 3 bytes
const juce::String clef (juce::CharPointer_UTF8 ("\xf0\x9d\x84\x9e"));               // 4 bytes
const juce::String eAcute (juce::CharPointer_UTF8 ("\xc3\xa9"));                     // 2 bytes
const juce::String devanagari (juce::CharPointer_UTF8 ("\xe0\xa4\xa8\xe0\xa4\xbe")); // 2 x 3 bytes

/** The name is valid UTF-8 that begins the original, and within the bytes. */
void expectCutOnAWholeCharacter (const juce::String& cut, const juce::String& original, int maxBytes)
{
    const auto* bytes = cut.toRawUTF8();
    EXPECT_TRUE (juce::CharPointer_UTF8::isValidString (bytes, (int) std::strlen (bytes)));
    EXPECT_LE (FileNames::bytesOf (cut), maxBytes);
    EXPECT_TRUE (original.startsWith (cut)) << cut;
}
} // namespace

TEST (FileNames, theCutCountsBytesAndStopsBeforeALetterThatWouldNotFit)
{
    const auto threeByteName = juce::String::repeatedString (kanji, 100);
    const auto cut = FileNames::cutToBytes (threeByteName, 255);
    EXPECT_EQ (FileNames::bytesOf (cut), 255);
    EXPECT_EQ (cut.length(), 85);
    expectCutOnAWholeCharacter (cut, threeByteName, 255);

    // 254 bytes leave room for 84 letters, not 84 and a part.
    EXPECT_EQ (FileNames::cutToBytes (threeByteName, 254).length(), 84);
    EXPECT_EQ (FileNames::bytesOf (FileNames::cutToBytes (threeByteName, 254)), 252);

    const auto fourByteName = juce::String::repeatedString (clef, 100);
    for (const int room : { 255, 254, 253, 252, 3, 0 })
    {
        SCOPED_TRACE (room);
        const auto fourCut = FileNames::cutToBytes (fourByteName, room);
        expectCutOnAWholeCharacter (fourCut, fourByteName, room);
        EXPECT_EQ (FileNames::bytesOf (fourCut), room / 4 * 4);
    }

    // Mixed widths; a name that fits is not touched, whatever its count of letters.
    const auto mixed = juce::String::repeatedString ("a" + eAcute + kanji + clef, 40);
    expectCutOnAWholeCharacter (FileNames::cutToBytes (mixed, 100), mixed, 100);
    const auto longAscii = juce::String::repeatedString ("x", 250);
    EXPECT_EQ (FileNames::cutToBytes (longAscii, 255), longAscii);
    EXPECT_EQ (FileNames::cutToBytes (longAscii, 200), juce::String::repeatedString ("x", 200));
}

TEST (FileNames, partsShareTheRoomSoThatALongOneLeavesTheOthersTheirShare)
{
    // Both fit: both whole.
    auto parts = FileNames::shared ({ "Artist", "Title" }, 20);
    EXPECT_EQ (parts, (std::vector<juce::String>{ "Artist", "Title" }));

    // A short title stays whole, and the artist takes what is left.
    const auto longArtist = juce::String::repeatedString (kanji, 200);
    parts = FileNames::shared ({ longArtist, "Title" }, 100);
    EXPECT_EQ (parts[1], "Title");
    EXPECT_EQ (FileNames::bytesOf (parts[0]), 93);
    expectCutOnAWholeCharacter (parts[0], longArtist, 95);

    // Both long: equal shares.
    const auto longTitle = juce::String::repeatedString (devanagari, 100);
    parts = FileNames::shared ({ longArtist, longTitle }, 240);
    EXPECT_EQ (FileNames::bytesOf (parts[0]), 120);
    EXPECT_EQ (FileNames::bytesOf (parts[1]), 120);
    expectCutOnAWholeCharacter (parts[1], longTitle, 120);

    // Nothing to share out.
    parts = FileNames::shared ({ "a", "b" }, 0);
    EXPECT_EQ (parts, (std::vector<juce::String>{ "", "" }));
}

TEST (FileNames, legalNamesLoseTheForbiddenCharactersAndAreNotCutAt128)
{
    EXPECT_EQ (FileNames::legal ("AC/DC: \"Live\" <1/2>?*|^@#,;\\"), "ACDC Live 12");
    const auto long200 = juce::String::repeatedString ("y", 200);
    EXPECT_EQ (FileNames::legal (long200), long200);
}

TEST (FileNames, theLongestNameIsTheFileSystemsAndTheCutNamesCanBeMade)
{
    const auto folder = freshFolder ("names");
    EXPECT_EQ (FileNames::longestName (folder), 255);
    // A folder still to be made has its parent's file system.
    EXPECT_EQ (FileNames::longestName (folder.getChildFile ("not yet").getChildFile ("deeper")), 255);

    for (const auto& letter : { juce::String ("z"), eAcute, kanji, clef })
    {
        SCOPED_TRACE (letter.toStdString());
        const auto tooLong = juce::String::repeatedString (letter, 300) + ".flac";
        EXPECT_FALSE (fileCanBeMade (folder, tooLong));

        const auto fitted = FileNames::fitted (folder.getChildFile (tooLong));
        EXPECT_EQ (fitted.getParentDirectory(), folder);
        EXPECT_TRUE (fitted.getFileName().endsWith (".flac"));
        EXPECT_LE (FileNames::bytesOf (fitted.getFileName()), 255);
        EXPECT_GT (FileNames::bytesOf (fitted.getFileName()), 255 - 4);
        expectCutOnAWholeCharacter (fitted.getFileNameWithoutExtension(), tooLong, 250);
        EXPECT_TRUE (fileCanBeMade (folder, fitted.getFileName()));
    }

    // A name that fits is left as it is.
    const auto fits = folder.getChildFile (juce::String::repeatedString ("w", 250) + ".flac");
    EXPECT_EQ (FileNames::fitted (fits), fits);
}
