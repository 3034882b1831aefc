// The participant and target records as other processes see them: every
// byte of a fresh record, defaults of the embedded fix and status included.
#include <gtest/gtest.h>

#include "ptc/OBU.h"
#include "ptc/PTC.h"
#include "ptc/RSU.h"
#include "ptc/TgtCollision.h"
#include "support/ByteImage.h"

namespace {

// A fresh record: zeros, the fix's hemisphere letters and precision at
// `gnss`, plus the record's own non-zero bytes.
Bytes expectedFresh(size_t size, std::vector<std::pair<size_t, Bytes>> extra)
{
    Bytes image(size, 0);
    extra.push_back({26 + 22, {'N', 'E'}});
    extra.push_back({26 + 67, {0x00, 0x00, 0xC6, 0x42}});  // 99.0f
    for (const auto& e : extra) {
        std::copy(e.second.begin(), e.second.end(), image.begin() + e.first);
    }
    return image;
}

const Bytes NINE_9999 = {0x00, 0x00, 0x00, 0x00, 0x80, 0x87, 0xC3, 0x40};  // 9999.0

TEST(PtcRecords, FreshImages)
{
    EXPECT_EQ(freshImage<IF_PTCBase>(), expectedFresh(143, {}));
    EXPECT_EQ(freshImage<RSU>(), expectedFresh(143, {}));
    EXPECT_EQ(freshImage<PTC>(), expectedFresh(230, {}));
    // The status inside: transmission unavailable, only the "unavailable" wheel-brake bit.
    EXPECT_EQ(freshImage<OBU>(), expectedFresh(248, {{192 + 8, {7}}, {192 + 43, {0x80}}}));
    EXPECT_EQ(freshImage<TargetBase>(), expectedFresh(193, {{152, NINE_9999}}));
    EXPECT_EQ(freshImage<TgtCollision>(), expectedFresh(201, {{152, NINE_9999}, {193, NINE_9999}}));
}

}  // namespace
