// Every catalogue row renders the same bytes on an instance whose work memory
// comes back from an earlier frame (still holding that frame's pictures) as on
// a fresh instance: no effect may read what it did not write.
#include <gtest/gtest.h>

#include "TestHost.h"
#include "frame/Catalogue.h"

namespace halcyra {
namespace {

TEST(ReusedMemory, EveryRowGivesTheSameBytesAsOnFreshMemory) {
    // Large enough that the work pictures are kept between frames.
    constexpr int32_t kWidth = 720, kHeight = 400;
    for (int32_t index = 0; index < 37; ++index) {
        std::vector<uint8_t> results[2];
        for (int run = 0; run < 2; ++run) {
            IVideoEffect* effect = CreateCatalogueEffect(index);
            ASSERT_NE(effect, nullptr) << index;
            test::TestHost host;
            host.UseDefaults(effect);
            test::GuardedFrame a(kWidth, kHeight, 3), b(kWidth, kHeight, 4, true), out(kWidth, kHeight);
            a.FillPattern(3);
            b.FillPattern(4);
            if (run == 1) {  // an earlier frame at another progress
                RenderInfo earlier = test::MakeRenderInfo(0.3, 0.4);
                effect->Render(&host, &a.desc, &b.desc, &out.desc, &earlier);
            }
            out.Fill(0);  // some rows keep what their background leaves alone
            RenderInfo info = test::MakeRenderInfo(0.45, 0.6);
            effect->Render(&host, &a.desc, &b.desc, &out.desc, &info);
            results[run] = out.Pixels();
            effect->Release();
        }
        EXPECT_EQ(results[0], results[1]) << "row " << index;
    }
}

}  // namespace
}  // namespace halcyra
