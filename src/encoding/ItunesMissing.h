#pragma once

#include <juce_core/juce_core.h>

class Project;

/** Where the box below sends a user who has no iTunes. */
extern const char* const itunesDownloadUrl;

/** The box that tells the user iTunes is missing, with a link to where it can be had. */
void showItunesMissing (Project* project);
