// make-clip: draws a scene frame by frame and encodes it with the ffmpeg program. The build makes the sample clips and the
// test clips with it.

#include "Host/SampleClips/Drawing.h"
#include "Host/SampleClips/Scene.h"
#include "Testing/FrameCode.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using namespace videoanalysis::samples;

struct Options {
    std::string output;
    std::string style = "runner";
    int width = 1280;
    int height = 720;
    std::string rate = "30";
    double framesPerSecond = 30;
    int frames = 300;
    int tone = 440;  // hertz, 0 for no sound
    std::vector<std::string> encoderOptions;
};

[[noreturn]] void fail(const std::string& message) {
    std::fprintf(stderr, "make-clip: %s\n", message.c_str());
    std::exit(1);
}

// Parses all of `text` as an integer in `min`...`max`; exits the program otherwise.
int parseNumber(std::string_view text, int min, int max, const char* what) {
    int value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || value < min || value > max) {
        fail(std::string(what) + " must be from " + std::to_string(min) + " to " + std::to_string(max) + ", not \"" +
             std::string(text) + "\"");
    }
    return value;
}

Options parseOptions(int argc, char** argv) {
    Options options;
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& name = arguments[i];
        if (name == "--") {
            options.encoderOptions.assign(arguments.begin() + static_cast<std::ptrdiff_t>(i) + 1, arguments.end());
            break;
        }
        if (!name.starts_with("--")) {
            if (!options.output.empty()) {
                fail("only one output file is allowed; unexpected \"" + name + "\"");
            }
            options.output = name;
            continue;
        }
        if (i + 1 == arguments.size()) {
            fail(name + " needs a value");
        }
        const std::string& value = arguments[++i];
        if (name == "--style") {
            options.style = value;
        } else if (name == "--size") {
            const std::size_t cross = std::min(value.find('x'), value.size());
            options.width = parseNumber(std::string_view(value).substr(0, cross), 16, 8192, "the width");
            options.height =
                parseNumber(std::string_view(value).substr(std::min(cross + 1, value.size())), 16, 8192, "the height");
        } else if (name == "--rate") {
            const std::size_t slash = std::min(value.find('/'), value.size());
            const int numerator = parseNumber(std::string_view(value).substr(0, slash), 1, 1000000, "the rate");
            const int denominator = slash == value.size() ? 1
                                                          : parseNumber(std::string_view(value).substr(slash + 1), 1,
                                                                        1000000, "the rate's denominator");
            options.rate = value;
            options.framesPerSecond = static_cast<double>(numerator) / denominator;
        } else if (name == "--frames") {
            options.frames = parseNumber(value, 1, FrameCode::largestNumber + 1, "the number of frames");
        } else if (name == "--tone") {
            options.tone = value == "none" ? 0 : parseNumber(value, 20, 20000, "the tone");
        } else {
            fail("unknown option " + name);
        }
    }
    if (options.output.empty()) {
        fail("usage: make-clip OUT [--style runner|tennis|plain] [--size WxH] [--rate N[/D]] [--frames N] "
             "[--tone HZ|none] [-- FFMPEG OUTPUT OPTIONS]");
    }
    return options;
}

std::vector<std::string> encoderCommand(const Options& options) {
    std::vector<std::string> command;
    const auto append = [&](const std::string& words) {
        std::istringstream stream(words);
        command.insert(command.end(), std::istream_iterator<std::string>(stream), {});
    };
    append("ffmpeg -nostdin -y -loglevel error -f rawvideo -pixel_format bgra");
    append("-video_size " + std::to_string(options.width) + "x" + std::to_string(options.height));
    append("-framerate " + options.rate + " -i pipe:0");
    if (options.tone != 0) {
        // A soft pluck every half second, as an audible time reference.
        append("-f lavfi -i aevalsrc='0.25*sin(2*PI*" + std::to_string(options.tone) +
               "*t)*exp(-14*mod(t,0.5))*min(1,200*mod(t,0.5))':s=48000:d=" +
               std::to_string(options.frames / options.framesPerSecond) + " -c:a aac -b:a 96k");
    }
    append("-vf scale=out_color_matrix=bt709:out_range=tv -c:v libx264 -preset fast -crf 20 -pix_fmt yuv420p");
    append("-colorspace bt709 -color_primaries bt709 -color_trc bt709 -color_range tv -movflags +faststart");
    command.insert(command.end(), options.encoderOptions.begin(), options.encoderOptions.end());
    command.push_back(options.output);
    return command;
}

// Starts `command` with the read end of a pipe as its input. Returns its process and the write end.
std::pair<pid_t, int> startWithPipe(const std::vector<std::string>& command) {
    int ends[2];
    if (pipe(ends) != 0) {
        fail(std::string("no pipe: ") + std::strerror(errno));
    }
    const pid_t process = fork();
    if (process < 0) {
        fail(std::string("cannot start ffmpeg: ") + std::strerror(errno));
    }
    if (process == 0) {
        dup2(ends[0], STDIN_FILENO);
        close(ends[0]);
        close(ends[1]);
        std::vector<char*> arguments;
        arguments.reserve(command.size() + 1);
        for (const std::string& argument : command) {
            arguments.push_back(const_cast<char*>(argument.c_str()));
        }
        arguments.push_back(nullptr);
        execvp(arguments[0], arguments.data());
        std::fprintf(stderr, "make-clip: cannot start ffmpeg: %s\n", std::strerror(errno));
        _exit(127);
    }
    close(ends[0]);
    return {process, ends[1]};
}

bool writeAll(int file, const unsigned char* bytes, std::size_t count) {
    while (count > 0) {
        const ssize_t written = write(file, bytes, count);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return false;
        }
        bytes += written;
        count -= static_cast<std::size_t>(written);
    }
    return true;
}

void drawFrameCode(cairo_t* cairo, int width, int height, int number) {
    const double stripHeight = static_cast<double>(height) / FrameCode::stripsPerHeight;
    const double cellWidth = static_cast<double>(width) / FrameCode::cellCount;
    const double inset = stripHeight / 8;
    fillRectangle(cairo, 0, 0, width, stripHeight, 0x10151c);
    const FrameCode::Cells cells = FrameCode::encode(number);
    for (std::size_t i = 0; i < cells.size(); ++i) {
        fillRoundedRectangle(cairo, static_cast<double>(i) * cellWidth + inset, inset, cellWidth - 2 * inset,
                             stripHeight - 2 * inset, std::min(cellWidth, stripHeight) / 8,
                             cells[i] ? 0xf7f5ef : 0x1c232d);
    }
}

}  // namespace

int main(int argc, char** argv) {
    const Options options = parseOptions(argc, argv);
    const std::unique_ptr<Scene> scene = Scene::named(options.style);
    if (!scene) {
        fail("unknown style \"" + options.style + "\"; available: runner, tennis, plain");
    }
    std::signal(SIGPIPE, SIG_IGN);
    const auto [process, pipeEnd] = startWithPipe(encoderCommand(options));

    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, options.width, options.height);
    cairo_t* cairo = cairo_create(surface);
    const double scale = std::max(options.width / Scene::width, options.height / Scene::height);
    bool written = true;
    for (int frame = 0; frame < options.frames && written; ++frame) {
        cairo_save(cairo);
        cairo_translate(cairo, (options.width - Scene::width * scale) / 2,
                        (options.height - Scene::height * scale) / 2);
        cairo_scale(cairo, scale, scale);
        scene->draw(cairo, frame / options.framesPerSecond);
        cairo_restore(cairo);
        drawFrameCode(cairo, options.width, options.height, frame);
        cairo_surface_flush(surface);
        // Rows of this format have no padding.
        written = writeAll(pipeEnd, cairo_image_surface_get_data(surface),
                           static_cast<std::size_t>(options.width) * 4 * static_cast<std::size_t>(options.height));
    }
    const bool drawn = cairo_status(cairo) == CAIRO_STATUS_SUCCESS;
    cairo_destroy(cairo);
    cairo_surface_destroy(surface);
    close(pipeEnd);

    int status = 0;
    waitpid(process, &status, 0);
    if (!drawn || !written || !WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        std::remove(options.output.c_str());  // an incomplete clip must not look valid
        fail(options.output + " was not made");
    }
    return 0;
}
