#pragma once

#include <juce_core/juce_core.h>

#include <functional>

class Project;

/**
    "titles from the sleeve...": the titles of a track list, pasted or typed one a line, rename
    the rows in order from the first.
*/
namespace SleeveTitles
{
/**
    The titles in a pasted track list, in order. Blank lines are skipped, and so are headings such
    as "Side A" or "Face 2". What track lists carry around a title is taken off:

    - numbering before it: "1.", "01 -", "3)", "4:", "A1", "B2)", "A1." (a number followed by a
      point, a bracket, a colon or a dash, or a side letter and a number);
    - a duration after it: "3:45", "(4:02)", "[1:02:33]", with the dash or dots before it.

    A title may begin with a number of its own ("99 Luftballons", "1999", "2-4-6-8 Motorway"):
    a number followed by a blank alone is taken for numbering only when every line starts so
    and they count up one by one, from 1 when there is a single line. A number alone on its
    line is a title. A line that is nothing but a duration stays a title too.
*/
juce::StringArray parse (const juce::String& text);

/** A title as a file's name: cleaned the way the encode run makes final names. */
juce::String fileNameOf (const Project& project, const juce::String& title);

/**
    Asks for the titles in the box "Titles from the sleeve" and renames the rows with them, in
    order from the first row, each through `rename` (the track list's rename: file, tag title and
    final name follow). Extra titles are ignored; rows without a title keep their names. Returns
    how many rows were given a title.
*/
int askAndRename (Project& project, const std::function<bool (int row, const juce::String& name)>& rename);
} // namespace SleeveTitles
