#pragma once

#include "app/Page.h"

/** The format page: the output format and its options. */
class Page3 : public Page
{
public:
    explicit Page3 (Project* project);

    void resized() override;
};
