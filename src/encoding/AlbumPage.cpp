#include "encoding/AlbumPage.h"

AlbumPage::AlbumPage (Project* projectToUse)
    : Page ("AlbumPage", projectToUse)
{
}

void AlbumPage::resized() {}
