#include "capture/Page1.h"

Page1::Page1 (Project* projectToUse)
    : Page ("Page1", projectToUse)
{
}

void Page1::resized()
{
}
