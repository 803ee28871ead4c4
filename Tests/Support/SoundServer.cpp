#include "Tests/Support/SoundServer.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

namespace videoanalysis {
namespace {

/// Starts a child process whose output goes to the file `output`. Returns its process id.
pid_t start(const std::vector<std::string>& command, const std::string& output) {
    const pid_t child = fork();
    if (child != 0) return child;
    const int file = open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const int null = open("/dev/null", O_RDWR);
    dup2(null, STDIN_FILENO);
    dup2(file, STDOUT_FILENO);
    dup2(null, STDERR_FILENO);
    std::vector<char*> arguments;
    for (const std::string& argument : command) arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    execvp(arguments[0], arguments.data());
    _exit(127);
}

}  // namespace

void SoundServer::end(pid_t& child) {
    if (child <= 0) return;
    kill(child, SIGTERM);
    kill(child, SIGCONT);  // in case it is stopped
    waitpid(child, nullptr, 0);
    child = -1;
}

SoundServer::SoundServer() {
    std::string folder = (std::filesystem::temp_directory_path() / "sound-server-XXXXXX").string();
    if (!mkdtemp(folder.data())) return;
    folder_ = folder;
    const std::string socket = folder_ + "/socket";
    setenv("XDG_RUNTIME_DIR", folder_.c_str(), 1);
    setenv("PULSE_RUNTIME_PATH", folder_.c_str(), 1);
    setenv("PULSE_STATE_PATH", folder_.c_str(), 1);
    setenv("PULSE_SERVER", ("unix:" + socket).c_str(), 1);
    server_ = start({"pulseaudio", "-n", "--daemonize=no", "--use-pid-file=no", "--exit-idle-time=-1", "--realtime=no",
                     "--high-priority=no", "--load=module-native-protocol-unix auth-anonymous=1 socket=" + socket,
                     "--load=module-null-sink sink_name=speaker rate=48000"},
                    "/dev/null");
    for (int attempt = 0; attempt < 100; ++attempt) {
        if (std::filesystem::exists(socket)) return;
        if (waitpid(server_, nullptr, WNOHANG) != 0) break;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    end(server_);
}

SoundServer::~SoundServer() {
    end(listener_);
    end(server_);
    std::error_code ignored;
    if (!folder_.empty()) std::filesystem::remove_all(folder_, ignored);
}

void SoundServer::startListening() {
    const std::string file = folder_ + "/heard";
    listener_ = start({"parec", "--device=speaker.monitor", "--format=float32le", "--rate=48000", "--channels=1",
                       "--raw", "--latency-msec=20"},
                      file);
    // It is recording once the file has its first bytes.
    std::error_code error;
    for (int attempt = 0; attempt < 100; ++attempt) {
        if (std::filesystem::file_size(file, error) > 0 && !error) return;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
}

std::vector<float> SoundServer::heard() const {
    std::ifstream file(folder_ + "/heard", std::ios::binary);
    std::vector<float> samples;
    std::array<float, 4096> part{};
    while (file.read(reinterpret_cast<char*>(part.data()), sizeof part) || file.gcount() > 0) {
        samples.insert(samples.end(), part.begin(),
                       part.begin() + file.gcount() / static_cast<std::streamsize>(sizeof(float)));
    }
    return samples;
}

}  // namespace videoanalysis
