#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "bilevel_contenders.h"

#ifdef CAM_HAVE_LIBTIFF
#include "libtiff_peer.h"
#endif
#ifdef CAM_HAVE_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif
#ifdef CAM_HAVE_SPANDSP
#include <spandsp.h>
#endif
#ifdef CAM_HAVE_LEPTONICA
#include <leptonica/allheaders.h>
#endif

namespace cam::bench {
namespace {

#ifdef CAM_HAVE_LIBTIFF
size_t LibtiffFile(const uint8_t* raster, Size size) {
    peer::MemoryTiff writer;
    peer::DescribeG4(writer.get(), size.width, size.rows);
    const size_t bytes = size_t{size.width / 8} * size.rows;
    // libtiff changes a raster only to turn its bits round, which this fill order does not need.
    TIFFWriteEncodedStrip(writer.get(), 0, const_cast<uint8_t*>(raster), static_cast<tmsize_t>(bytes));
    return writer.Close().size();
}

Contender Libtiff() {
    return {Stage::Group4, "libtiff", true, [](const Picture& picture) {
                return Job{[] {}, [&picture] { return LibtiffFile(picture.raster.data(), picture.size); }};
            }};
}
#endif

#ifdef CAM_HAVE_OPENCV
// `offset` is what a pixel must be darker than its surroundings by.
void OpencvThreshold(const cv::Mat& grey, cv::Mat& out, int type, double offset) {
    const int side = (std::min(grey.cols, grey.rows) >> 3) | 1;
    cv::adaptiveThreshold(grey, out, 255, cv::ADAPTIVE_THRESH_MEAN_C, type, side, offset);
}

// What our ratio comes to at the picture's mean brightness: the pictures then have about as much to encode.
double OffsetFor(const Picture& picture) {
    uint64_t sum = 0;
    for (uint8_t pixel : picture.grey) sum += pixel;
    return kThresholdRatio * static_cast<double>(sum) / static_cast<double>(picture.grey.size());
}

Contender Opencv() {
    return {Stage::Threshold, "opencv", true, [](const Picture& picture) {
                auto out = std::make_shared<cv::Mat>();
                auto run = [out, &picture, offset = OffsetFor(picture)]() -> size_t {
                    const cv::Mat grey(static_cast<int>(picture.size.rows),
                                       static_cast<int>(picture.size.width), CV_8UC1,
                                       const_cast<uint8_t*>(picture.grey.data()));
                    OpencvThreshold(grey, *out, cv::THRESH_BINARY, offset);
                    return out->total();
                };
                return Job{[] {}, run};
            }};
}

#ifdef CAM_HAVE_LIBTIFF
// Eight bytes of 0 or 255 into a byte, the first into the highest bit.
uint8_t PackEight(const uint8_t* bytes) {
    uint64_t word;
    memcpy(&word, bytes, sizeof word);
    return static_cast<uint8_t>((word & 0x0101010101010101) * 0x8040201008040201 >> 56);
}

Contender OpencvAndLibtiff() {
    return {Stage::File, "opencv + libtiff", true, [](const Picture& picture) {
                auto grey = std::make_shared<cv::Mat>();
                auto mask = std::make_shared<cv::Mat>();
                auto raster = std::make_shared<std::vector<uint8_t>>(picture.raster.size());
                auto run = [=, &picture, offset = OffsetFor(picture)] {
                    const cv::Mat frame(static_cast<int>(picture.size.rows),
                                        static_cast<int>(picture.size.width), CV_8UC2,
                                        const_cast<uint8_t*>(picture.yuy2.data()));
                    cv::extractChannel(frame, *grey, 0);
                    OpencvThreshold(*grey, *mask, cv::THRESH_BINARY_INV, offset);
                    for (size_t i = 0; i < raster->size(); ++i) (*raster)[i] = PackEight(mask->data + 8 * i);
                    return LibtiffFile(raster->data(), picture.size);
                };
                return Job{[] {}, run};
            }};
}
#endif
#endif

#if defined(CAM_HAVE_SPANDSP) && defined(CAM_HAVE_LIBTIFF)
// The encoder takes a page's measures from a file, and here its rows from memory.
class SpandspPage {
  public:
    explicit SpandspPage(const Picture& shown) : picture(shown) {
        strcpy(path, "/tmp/bilevel_bench_XXXXXX");
        const int file = mkstemp(path);
        peer::MemoryTiff writer;
        peer::DescribeG4(writer.get(), picture.size.width, picture.size.rows);
        TIFFSetField(writer.get(), TIFFTAG_XRESOLUTION, 204.0f);
        TIFFSetField(writer.get(), TIFFTAG_YRESOLUTION, 196.0f);
        TIFFSetField(writer.get(), TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
        std::vector<uint8_t> raster = picture.raster;
        TIFFWriteEncodedStrip(writer.get(), 0, raster.data(), static_cast<tmsize_t>(raster.size()));
        const std::vector<uint8_t>& bytes = writer.Close();
        if (write(file, bytes.data(), bytes.size()) < 0) path[0] = 0;
        close(file);
    }
    ~SpandspPage() {
        Release();
        unlink(path);
    }

    void Prepare() {
        Release();
        row = 0;
        state = t4_tx_init(nullptr, path, -1, -1);
        if (!state) return;
        t4_tx_set_tx_encoding(state, T4_COMPRESSION_ITU_T6);
        t4_tx_set_row_read_handler(state, ReadRow, this);
    }
    size_t Run() {
        if (!state || t4_tx_start_page(state) != 0) return 0;
        static uint8_t chunk[65536];
        size_t total = 0;
        for (int count; (count = t4_tx_get_chunk(state, chunk, sizeof chunk)) > 0;) {
            total += static_cast<size_t>(count);
        }
        return total;
    }

  private:
    static int ReadRow(void* self, uint8_t* row, size_t length) {
        auto& page = *static_cast<SpandspPage*>(self);
        if (page.row >= page.picture.size.rows) return 0;
        memcpy(row, page.picture.raster.data() + page.row++ * length, length);
        return static_cast<int>(length);
    }
    void Release() {
        if (state) t4_tx_free(state);
        state = nullptr;
    }

    const Picture& picture;
    size_t row = 0;
    char path[32];
    t4_tx_state_t* state = nullptr;
};

Contender Spandsp() {
    return {Stage::Group4, "spandsp", false, [](const Picture& picture) {
                auto page = std::make_shared<SpandspPage>(picture);
                return Job{[page] { page->Prepare(); }, [page] { return page->Run(); }};
            }};
}
#endif

#ifdef CAM_HAVE_LEPTONICA
Contender Leptonica() {
    return {Stage::Group4, "leptonica", false, [](const Picture& picture) {
                std::shared_ptr<Pix> pix(
                    pixCreate(static_cast<int>(picture.size.width), static_cast<int>(picture.size.rows), 1),
                    [](Pix* p) { pixDestroy(&p); });
                const uint32_t lineBytes = picture.size.width / 8;
                for (uint32_t y = 0; y < picture.size.rows; ++y) {
                    l_uint32* line = pixGetData(pix.get()) + y * static_cast<uint32_t>(pixGetWpl(pix.get()));
                    for (uint32_t i = 0; i < lineBytes; ++i)
                        SET_DATA_BYTE(line, i, picture.raster[y * lineBytes + i]);
                }
                auto run = [pix]() -> size_t {
                    l_uint8* data = nullptr;
                    size_t size = 0;
                    pixWriteMemTiff(&data, &size, pix.get(), IFF_TIFF_G4);
                    lept_free(data);
                    return size;
                };
                return Job{[] {}, run};
            }};
}
#endif

}  // namespace

std::vector<Contender> PeerContenders() {
    std::vector<Contender> contenders;
#ifdef CAM_HAVE_OPENCV
    cv::setNumThreads(1);
    contenders.push_back(Opencv());
#endif
#ifdef CAM_HAVE_LIBTIFF
    contenders.push_back(Libtiff());
#endif
#if defined(CAM_HAVE_SPANDSP) && defined(CAM_HAVE_LIBTIFF)
    contenders.push_back(Spandsp());
#endif
#ifdef CAM_HAVE_LEPTONICA
    contenders.push_back(Leptonica());
#endif
#if defined(CAM_HAVE_OPENCV) && defined(CAM_HAVE_LIBTIFF)
    contenders.push_back(OpencvAndLibtiff());
#endif
    return contenders;
}

}  // namespace cam::bench
