#include "inspection/TexturePages.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <new>
#include <ostream>

#include "core/LittleEndian.h"
#include "inspection/Png.h"

namespace {
enum class PixelForm { Indexed8, Argb1555, Bgra32 };

// A run of pages of one form: in the file as they stand, or (32-bit) in a zlib stream.
struct PageRun {
    PixelForm form;
    size_t pages;
    const uint8_t* pixels = nullptr;
    std::span<const uint8_t> packed;
};

uint8_t Expand5(unsigned v) { return static_cast<uint8_t>((v << 3) | (v >> 2)); }
uint8_t Expand6(uint8_t v) { return static_cast<uint8_t>(std::min<uint8_t>(v, 63) * 4); }

// Hands out the picture's rows from the top, one run of pages after another.
class PageRows {
public:
    PageRows(std::vector<PageRun> runs, const uint8_t* palette) : runs_(std::move(runs)), palette_(palette) {}
    ~PageRows() { EndStream(); }
    PageRows(const PageRows&) = delete;
    PageRows& operator=(const PageRows&) = delete;

    void Next(uint8_t* rgb) {
        while (row_ == runs_[run_].pages * PagePixels) {
            EndStream();
            ++run_;
            row_ = 0;
        }
        const PageRun& r = runs_[run_];
        const uint32_t y = static_cast<uint32_t>(row_ % PagePixels);
        const uint8_t* line = r.form == PixelForm::Bgra32 ? InflateRow(r)
                                                          : r.pixels + row_ * PagePixels * (r.form == PixelForm::Indexed8 ? 1 : 2);
        for (uint32_t x = 0; x < PagePixels; ++x, rgb += 3) {
            bool transparent = false;
            switch (r.form) {
                case PixelForm::Indexed8: {
                    const uint8_t* c = palette_ + line[x] * 3;
                    transparent = line[x] == 0;
                    rgb[0] = Expand6(c[0]), rgb[1] = Expand6(c[1]), rgb[2] = Expand6(c[2]);
                    break;
                }
                case PixelForm::Argb1555: {
                    const unsigned w = LoadU16(line + 2 * x);
                    transparent = (w & 0x8000) == 0;
                    rgb[0] = Expand5((w >> 10) & 31), rgb[1] = Expand5((w >> 5) & 31), rgb[2] = Expand5(w & 31);
                    break;
                }
                case PixelForm::Bgra32: {
                    const uint8_t* p = line + 4 * x;
                    transparent = p[3] < 128;
                    rgb[0] = p[2], rgb[1] = p[1], rgb[2] = p[0];
                    break;
                }
            }
            if (transparent) {
                const bool light = (x / CheckerSquare + y / CheckerSquare) % 2 == 0;
                rgb[0] = rgb[1] = rgb[2] = light ? CheckerLight : CheckerDark;
            }
        }
        ++row_;
    }

private:
    // The next row of a 32-bit run, inflated from its stream; what the stream lacks is zero.
    const uint8_t* InflateRow(const PageRun& r) {
        if (!streamOpen_) {
            if (inflateInit(&z_) != Z_OK) throw std::bad_alloc();
            streamOpen_ = true;
            z_.next_in = const_cast<Bytef*>(r.packed.data());
            z_.avail_in = static_cast<uInt>(r.packed.size());
        }
        z_.next_out = bgra_.data();
        z_.avail_out = static_cast<uInt>(bgra_.size());
        while (z_.avail_out > 0 && inflate(&z_, Z_NO_FLUSH) == Z_OK) {
        }
        std::fill(bgra_.end() - z_.avail_out, bgra_.end(), uint8_t {0});
        return bgra_.data();
    }
    void EndStream() {
        if (streamOpen_) inflateEnd(&z_);
        streamOpen_ = false;
        z_ = {};
    }

    std::vector<PageRun> runs_;
    const uint8_t* palette_;
    size_t run_ = 0, row_ = 0;
    z_stream z_ {};
    bool streamOpen_ = false;
    std::vector<uint8_t> bgra_ = std::vector<uint8_t>(PagePixels * 4);
};

std::string Pages(size_t n, const char* form) {
    return std::to_string(n) + " " + form + " page" + (n == 1 ? "" : "s");
}

// The pages a level holds, with the palette of its 8-bit pages; false with the reason in `what`.
bool FindPages(std::span<const uint8_t> file, const WalkedLevel& level, std::vector<PageRun>& runs,
               const uint8_t*& palette, std::string& what) {
    switch (level.format) {
        case WalkFormat::Tr1:
        case WalkFormat::Gold: {
            const WalkedSection* tiles = level.Find("Tiles");
            const WalkedSection* p = level.Find("Tr1Palette") ? level.Find("Tr1Palette") : level.Find("GoldPalette");
            if (!tiles || !p) return what = "the check did not reach the palette", false;
            palette = file.data() + p->offset;
            runs = {{PixelForm::Indexed8, static_cast<size_t>(tiles->count), file.data() + tiles->offset + 4, {}}};
            what = Pages(runs[0].pages, "8-bit") + ", through the palette";
            return true;
        }
        case WalkFormat::Tr2:
        case WalkFormat::Tr3: {
            const WalkedSection* tiles = level.Find("Tiles");
            if (!tiles) return what = "the check did not reach the tiles", false;
            const auto n = static_cast<size_t>(tiles->count);
            palette = file.data() + level["Palette8"].offset;
            runs = {{PixelForm::Argb1555, n, file.data() + tiles->offset + 4 + n * 65536, {}},
                    {PixelForm::Indexed8, n, file.data() + tiles->offset + 4, {}}};
            what = Pages(n, "16-bit") + ", then the " + Pages(n, "8-bit") + " through the 8-bit palette";
            return true;
        }
        case WalkFormat::Tr4:
        case WalkFormat::Tr5: {
            // The walk reaches the 16-bit block only once the 32-bit one inflated to its size word.
            const WalkedSection* block = level.Find("Texture32");
            if (!block || !level.Find("Texture16")) return what = "the 32-bit texture block is not whole", false;
            const size_t n = LoadU32(&file[block->offset]) / (PagePixels * PagePixels * 4);
            runs = {{PixelForm::Bgra32, n, nullptr, file.subspan(block->offset + 8, block->bytes)}};
            what = Pages(n, "32-bit");
            return true;
        }
        default: return what = "the level's format is not known", false;
    }
}

// Writes all bytes to a file that must not exist yet. Exists when one does (nothing is touched
// then); Failed, with the reason, when the new file could not be written whole.
enum class NewFile { Written, Exists, Failed };
NewFile WriteNewFile(const std::string& path, const std::vector<uint8_t>& bytes, std::string& why) {
    const int fd = ::open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (fd < 0 && errno == EEXIST) return NewFile::Exists;
    if (fd < 0) return why = std::strerror(errno), NewFile::Failed;
    size_t done = 0;
    int error = 0;
    while (done < bytes.size() && error == 0) {
        const ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n > 0) done += static_cast<size_t>(n);
        else if (n == 0) error = EIO;
        else if (errno != EINTR) error = errno;
    }
    if (error == 0 && ::fsync(fd) != 0) error = errno;
    if (::close(fd) != 0 && error == 0) error = errno;
    if (error == 0) return NewFile::Written;
    why = std::strerror(error);
    ::unlink(path.c_str());
    return NewFile::Failed;
}

// Puts the picture at `picturePath` through a new file beside it; false with the reason.
bool PutPicture(const std::string& levelPath, const std::string& picturePath, const std::vector<uint8_t>& png,
                std::string& why) {
    struct stat target {}, level {};
    if (::stat(picturePath.c_str(), &target) == 0) {
        if (::stat(levelPath.c_str(), &level) == 0 && target.st_dev == level.st_dev && target.st_ino == level.st_ino)
            return why = "that is the level itself: not replaced", false;
        if (!S_ISREG(target.st_mode)) return why = "not a regular file", false;
        char head[8] = {};
        std::ifstream f(picturePath, std::ios::binary);
        f.read(head, sizeof head);
        if (target.st_size > 0 && std::memcmp(head, png.data(), sizeof head) != 0)
            return why = "the file there is not a PNG picture: not replaced", false;
    }
    for (int attempt = 0; attempt < 100; ++attempt) {
        const std::string temporary =
            picturePath + ".part-" + std::to_string(::getpid()) + "-" + std::to_string(attempt);
        switch (WriteNewFile(temporary, png, why)) {
            case NewFile::Exists: continue;
            case NewFile::Failed: return false;
            case NewFile::Written: break;
        }
        if (::rename(temporary.c_str(), picturePath.c_str()) == 0) return true;
        why = std::strerror(errno);
        ::unlink(temporary.c_str());
        return false;
    }
    return why = "no free name for the new file beside it", false;
}
}  // namespace

TexturePicture DrawTexturePages(std::span<const uint8_t> file, const WalkedLevel& level) noexcept {
    TexturePicture picture;
    try {
        std::vector<PageRun> runs;
        const uint8_t* palette = nullptr;
        if (!FindPages(file, level, runs, palette, picture.what)) return picture;
        for (const PageRun& r : runs) picture.pages += r.pages;
        if (picture.pages == 0) {
            picture.what = "the level has no texture pages";
            return picture;
        }
        PageRows rows(runs, palette);
        picture.png = EncodePng(PagePixels, static_cast<uint32_t>(picture.pages * PagePixels),
                                [&](uint8_t* rgb) { rows.Next(rgb); });
    } catch (...) {
        picture.png.clear();
        picture.what = "not enough memory to draw the texture pages";
    }
    return picture;
}

bool WriteTexturePicture(std::span<const uint8_t> file, const WalkedLevel& level, const std::string& levelPath,
                         const std::string& picturePath, std::ostream& out, std::ostream& err) noexcept {
    try {
        const TexturePicture picture = DrawTexturePages(file, level);
        if (picture.png.empty()) {
            err << levelPath << ": the texture pages can't be drawn: " << picture.what << '\n';
            return false;
        }
        std::string why;
        if (!PutPicture(levelPath, picturePath, picture.png, why)) {
            err << picturePath << ": the picture was not written: " << why << '\n';
            return false;
        }
        out << "Texture pages: " << picture.what << ", " << PagePixels << " x " << picture.pages * PagePixels
            << " pixels, written to " << picturePath << '\n';
        return true;
    } catch (...) {
        return false;
    }
}
