#include "editing/LaneForm.h"

#include "editing/FloatVector.h"

#include <atomic>

namespace
{
bool processorHasAvx2()
{
#if GROOVESMITH_FLOAT_VECTOR_AVX2
    // GCC and Clang count AVX2 only where the system also saves the wide registers.
    __builtin_cpu_init();
    return __builtin_cpu_supports ("avx2") != 0;
#else
    return false;
#endif
}

std::atomic<LaneForm>& current()
{
    static std::atomic<LaneForm> form{ LaneForms::eightLanesAvailable() ? LaneForm::eightLanes : LaneForm::fourLanes };
    return form;
}
} // namespace

bool LaneForms::eightLanesAvailable()
{
    static const bool available = processorHasAvx2();
    return available;
}

std::vector<LaneForm> LaneForms::availableForms()
{
    std::vector<LaneForm> forms{ LaneForm::fourLanes };

    if (eightLanesAvailable())
        forms.push_back (LaneForm::eightLanes);

    return forms;
}

LaneForm LaneForms::active()
{
    return current().load (std::memory_order_relaxed);
}

void LaneForms::use (LaneForm form)
{
    if (form == LaneForm::eightLanes && ! eightLanesAvailable())
        form = LaneForm::fourLanes;

    current().store (form, std::memory_order_relaxed);
}
