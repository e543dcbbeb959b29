#include "encoding/Page3.h"

Page3::Page3 (Project* projectToUse)
    : Page ("Page3", projectToUse)
{
}

void Page3::resized() {}
