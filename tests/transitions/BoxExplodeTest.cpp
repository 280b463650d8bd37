// Box Explode: regression checksums over the burst's timing, its spin and
// Reverse; the box's motion is held by these frames alone.
#include <gtest/gtest.h>

#include "TransitionTestSupport.h"
#include "transitions/BoxExplode.h"

namespace halcyra {
namespace {

constexpr int32_t kDelay = 0, kSpin = 2, kReverse = 3;

struct BoxCase {
    double progress;
    bool reverse;
    float delay, spin;
    uint32_t crc;
};

// Regression checksums of 64 x 48 frames from fixed inputs. Delay 0.3 at
// progress (double)0.3f takes the burst branch at time 0.
TEST(BoxExplode, RegressionChecksums) {
    const BoxCase cases[] = {
        {0.1, false, 0.51f, 0.25f, 2407811124u},
        {0.3, false, 0.51f, 0.25f, 1374351687u},
        {0.5, false, 0.51f, 0.25f, 2840748126u},
        {0.6, false, 0.51f, 0.25f, 2887270584u},
        {0.8, false, 0.51f, 0.25f, 358059842u},
        {0.95, false, 0.51f, 0.25f, 3482484537u},
        {0.3, true, 0.51f, 0.25f, 3431058125u},
        {0.7, true, 0.51f, 0.25f, 4247226363u},
        {static_cast<double>(0.3f), false, 0.3f, 0.25f, 1518038626u},
        {0.2, false, 0.0f, 0.25f, 1307072700u},
        {0.9, false, 1.0f, 0.25f, 3955753834u},
        {0.7, false, 0.51f, 0.5f, 1626106551u},
        {0.4, false, 0.51f, 0.9f, 88028908u},
    };
    test::ExpectCaseChecksums([](const auto&) { return new D3DBoxExplode(); }, cases,
                              [](test::TestHost& host, const auto& c) {
                                  host.values[kReverse].flag = c.reverse ? 1 : 0;
                                  host.values[kDelay].number = c.delay;
                                  host.values[kSpin].number = c.spin;
                              });
}

}  // namespace
}  // namespace halcyra
