#include "editing/SleeveTitles.h"

#include "encoding/AlbumFiles.h"
#include "project/Dialogs.h"
#include "project/Project.h"

#include <string>
#include <vector>

namespace
{
using Text = std::u32string;

bool isDigit (char32_t c)
{
    return c >= '0' && c <= '9';
}

bool isBlank (char32_t c)
{
    return c == ' ' || c == '\t' || c == 0xa0;
}

/** What stands between a number and its title: "1.", "2)", "3:", "4 -", "5 –". */
bool isNumberMark (char32_t c)
{
    return c == '.' || c == ')' || c == ']' || c == ':' || c == '-' || c == 0x2013 || c == 0x2014;
}

/** What stands between a title and its duration: " - 3:45", "...... 3:45", " | 3:45". */
bool isDurationMark (char32_t c)
{
    return isBlank (c) || c == '-' || c == 0x2013 || c == 0x2014 || c == '|' || c == '.' || c == 0x2026 || c == 0xb7;
}

Text toText (const juce::String& line)
{
    Text text;
    for (auto p = line.getCharPointer(); ! p.isEmpty(); ++p)
        text.push_back ((char32_t) *p);
    return text;
}

juce::String toString (const Text& text, size_t from, size_t to)
{
    juce::String result;
    for (size_t i = from; i < to; ++i)
        result += juce::String::charToString ((juce::juce_wchar) text[i]);
    return result.trim();
}

/** Where the title begins after numbering with a mark ("1.", "01 -", "A1", "B2)"); 0 without. */
size_t afterMarkedNumber (const Text& line)
{
    size_t i = 0;
    const bool side = line.size() > 1 && line[0] >= 'A' && line[0] <= 'H' && isDigit (line[1]);
    if (side)
        ++i;

    const size_t digits = i;
    while (i < line.size() && isDigit (line[i]) && i - digits < 3)
        ++i;

    // Four digits and more are a title: "1999".
    if (i == digits || (i < line.size() && isDigit (line[i])))
        return 0;

    size_t j = i;
    while (j < line.size() && isBlank (line[j]))
        ++j;

    if (j < line.size() && isNumberMark (line[j]))
    {
        size_t k = j + 1;

        // A digit after the mark makes a time or a title: "3:45", "24-7", "1.5".
        if (k < line.size() && isDigit (line[k]))
            return 0;

        // After a side and number, the mark stands alone: "E2-E4" is a title.
        if (side && k < line.size() && ! isBlank (line[k]))
            return 0;

        while (k < line.size() && isBlank (line[k]))
            ++k;
        return k;
    }

    // "A1 Title": a side and number need no mark, but a title must follow.
    if (side && j > i && j < line.size())
        return j;

    return 0;
}

/** The number of a line that starts with a number and a blank ("1 Intro", "99 Luftballons"),
    with where its title begins; no number when it doesn't. */
std::pair<int, size_t> bareNumber (const Text& line)
{
    size_t i = 0;
    while (i < line.size() && isDigit (line[i]) && i < 3)
        ++i;

    if (i == 0 || i >= line.size() || ! isBlank (line[i]))
        return { -1, 0 };

    size_t j = i;
    while (j < line.size() && isBlank (line[j]))
        ++j;

    if (j >= line.size())
        return { -1, 0 };

    int number = 0;
    for (size_t d = 0; d < i; ++d)
        number = number * 10 + (int) (line[d] - '0');

    return { number, j };
}

/** Where a duration at the end of the line begins, with the marks before it ("Song - 3:45",
    "Song (4:02)", "Song ..... 1:02:33"); the line's length when it has none. */
size_t beforeDuration (const Text& line, size_t titleStart)
{
    const size_t none = line.size();

    size_t end = line.size();
    while (end > titleStart && isBlank (line[end - 1]))
        --end;

    const bool bracketed = end > titleStart && (line[end - 1] == ')' || line[end - 1] == ']');
    if (bracketed)
    {
        --end;
        while (end > titleStart && isBlank (line[end - 1]))
            --end;
    }

    // Groups of one or two digits between colons, read backwards: seconds, minutes, hours.
    std::vector<size_t> groups;
    size_t i = end;
    for (;;)
    {
        const size_t groupEnd = i;
        while (i > titleStart && isDigit (line[i - 1]) && groupEnd - i < 2)
            --i;

        if (i == groupEnd)
            return none;

        groups.push_back (groupEnd - i);
        if (groups.size() < 3 && i > titleStart && line[i - 1] == ':')
        {
            --i;
            continue;
        }
        break;
    }

    // Seconds (and minutes before hours) have two digits; a lone number is no duration.
    if (groups.size() < 2 || groups[0] != 2 || (groups.size() == 3 && groups[1] != 2))
        return none;
    if (i > titleStart && isDigit (line[i - 1]))
        return none;

    if (bracketed)
    {
        while (i > titleStart && isBlank (line[i - 1]))
            --i;
        if (i == titleStart || (line[i - 1] != '(' && line[i - 1] != '['))
            return none;
        --i;
    }
    else if (i > titleStart && ! isDurationMark (line[i - 1]))
    {
        return none;
    }

    while (i > titleStart && isDurationMark (line[i - 1]))
        --i;

    // A line that is nothing but a duration keeps it as its title.
    return i > titleStart ? i : none;
}

/** "Side A", "Side 2", "Face B", "Seite 1": a heading, not a title. */
bool isHeading (const juce::String& line)
{
    const auto lower = line.toLowerCase().trimCharactersAtEnd (":").trim();
    for (const auto* word : { "side", "face", "seite" })
    {
        if (! lower.startsWith (word))
            continue;

        const auto rest = lower.substring ((int) std::char_traits<char>::length (word)).trim();
        if (rest.length() == 1 && juce::CharacterFunctions::isLetterOrDigit (rest[0]))
            return true;
        if (rest.length() == 2 && rest.containsOnly ("0123456789"))
            return true;
    }
    return false;
}
} // namespace

namespace SleeveTitles
{
juce::StringArray parse (const juce::String& text)
{
    juce::StringArray rawLines;
    rawLines.addLines (text);

    std::vector<Text> lines;
    for (auto line : rawLines)
    {
        line = line.replaceCharacter ((juce::juce_wchar) 0xa0, ' ').trim();
        if (line.isNotEmpty() && ! isHeading (line))
            lines.push_back (toText (line));
    }

    // Numbers followed by a blank alone are numbering when all the lines count up by them.
    const int first = lines.empty() ? -1 : bareNumber (lines.front()).first;
    bool bareNumbering = first >= 0 && (lines.size() > 1 || first == 1);
    for (size_t i = 0; i < lines.size() && bareNumbering; ++i)
        bareNumbering = afterMarkedNumber (lines[i]) == 0 && bareNumber (lines[i]).first == first + (int) i;

    juce::StringArray titles;
    for (const auto& line : lines)
    {
        const size_t start = bareNumbering ? bareNumber (line).second : afterMarkedNumber (line);
        const size_t end = beforeDuration (line, start);
        const auto title = toString (line, start, end);

        // A line of numbering alone holds no title.
        if (title.isNotEmpty())
            titles.add (title);
    }

    return titles;
}

juce::String fileNameOf (const Project& project, const juce::String& title)
{
    return AlbumFiles::finalFileName (project, title, 0, {}, false);
}

int askAndRename (Project& project, const std::function<bool (int row, const juce::String& name)>& rename)
{
    AlertRequest request;
    request.icon = juce::MessageBoxIconType::QuestionIcon;
    request.title = project.translate ("Titles from the sleeve");
    request.message = project.translate ("Paste or type the titles, one a line, in the order of the tracks. "
                                         "Numbers and times are taken off.");
    request.fieldNames.add ("titles");
    request.fieldLabels.add (project.translate ("Titles:"));
    request.fieldValues.add ({});
    request.multiLineFields = true;
    request.focusedField = 0;
    request.buttons.push_back ({ project.translate ("cancel"), 0, juce::KeyPress (juce::KeyPress::escapeKey) });
    request.buttons.push_back ({ project.translate ("ok"), 1, juce::KeyPress (juce::KeyPress::returnKey) });

    if (Dialogs::get().runAlert (request) != 1)
        return 0;

    const auto titles = parse (request.fieldValues[0]);

    // The rows are named by their files, since a rename that fails may take a row out.
    juce::StringArray paths;
    for (int row = 0; row < project.trackCount() && row < titles.size(); ++row)
        paths.add (project.trackPath (row));

    int renamed = 0;
    for (int i = 0; i < paths.size(); ++i)
    {
        const int row = project.indexOfTrack (paths[i]);
        if (row < 0)
            continue;

        rename (row, fileNameOf (project, titles[i]));
        ++renamed;
    }

    return renamed;
}
} // namespace SleeveTitles
