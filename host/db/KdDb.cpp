// Lineweight validity and transparency packing.
#include <tv/KdCmTransparency.h>
#include <tv/KdDb.h>

namespace KdDb {

bool isValidLineWeight(int value) {
    static constexpr int kWeights[] = {0,  5,  9,  13, 15, 18,  20,  25,  30,  35,  40,  50,
                                       53, 60, 70, 80, 90, 100, 106, 120, 140, 158, 200, 211};
    if (value == kLnWtByLayer || value == kLnWtByBlock || value == kLnWtByLwDefault)
        return true;
    for (int w : kWeights)
        if (w == value)
            return true;
    return false;
}

} // namespace KdDb

uint32_t KdCmTransparency::serializeOut() const {
    switch (m_method) {
    case kByBlock:
        return 0x01000000u;
    case kByAlpha:
        return 0x02000000u | m_alpha;
    default:
        return 0;
    }
}

KdCmTransparency KdCmTransparency::serializeIn(uint32_t raw) {
    KdCmTransparency t;
    if ((raw >> 24) == 0x02)
        t.setAlpha(static_cast<uint8_t>(raw & 0xFF));
    else if ((raw >> 24) == 0x01)
        t.setMethod(kByBlock);
    return t;
}
