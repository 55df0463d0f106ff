#include "ForeignFiles.h"
#include "ForeignImages.h"
#include "XFormatId.h"

// JPEG files that other programs wrote.

namespace {

const Foreign kJpegs[] = {
    AsGdal("16bit-qtables.jpg"),
    AsGdal("a39se10.jpg"),
    AsGdal("albania.jpg"),
    AsGdal("gen_cj_411_4x1.jpg"),
    AsGdal("gen_cj_420_restart.jpg"),
    AsGdal("gen_cj_422_2x1.jpg"),
    AsGdal("gen_cj_440_1x2.jpg"),
    AsGdal("gen_cj_greyconv.jpg"),
    AsGdal("gen_cj_opt_q20.jpg"),
    AsGdal("gen_cj_prog_444.jpg"),
    AsGdal("gen_grey.jpg"),
    AsGdal("gen_rgb_progressive.jpg"),
    AsGdal("gen_rgb_q90.jpg"),
    AsGdal("grayscale_16x24_sampling2x2.jpg"),
    AsGdal("grayscale_large.jpg"),
    AsGdal("jpg-progressive.jpg"),
    AsGdal("jpg-size-17x17.jpg"),
    AsGdal("jpg-size-1x1.jpg"),
    AsGdal("jpg-size-33x33.jpg"),
    AsGdal("jpg-size-7x7.jpg"),
    AsGdal("non-interleaved-mcu.jpg"),
    AsGdal("restarts.jpg"),
    AsGdal("rgb.jpg"),
    AsGdal("testorig.jpg"),
    NearlyAsGdal("jpg-cmyk-1.jpg", "we round the product of an ink and black, GDAL cuts it"),
    Refused("12bit_rose_extract.jpg", "Can't read JPEG header : ", "12 bits a sample"),
};

class ForeignJpegs : public ForeignImage {};

TEST_P(ForeignJpegs, ComeOutAsListed) {
  Check("jpeg", kFormatJPG);
}

INSTANTIATE_TEST_SUITE_P(Files, ForeignJpegs, testing::ValuesIn(kJpegs), NameOfForeign);

TEST(ForeignJpegFolder, HoldsNoFileThatIsNotListed) {
  ExpectAllListed("jpeg", {".jpg"}, NamesOf(kJpegs));
}

}  // namespace
