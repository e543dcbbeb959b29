#pragma once

#include "app/Page.h"

/** The album page: artist, album, year, genre and the covers. */
class AlbumPage : public Page
{
public:
    explicit AlbumPage (Project* project);

    void resized() override;
};
