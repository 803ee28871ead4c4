#include "Tests/Support/WebServer.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

namespace videoanalysis {
namespace {

constexpr std::size_t pieceSize = 4096;

bool sendAll(int connection, const char* data, std::size_t size) {
    while (size > 0) {
        const ssize_t sent = send(connection, data, size, MSG_NOSIGNAL);
        if (sent <= 0) return false;
        data += sent;
        size -= static_cast<std::size_t>(sent);
    }
    return true;
}

}  // namespace

WebServer::WebServer(const std::string& file) {
    std::ifstream stream(file, std::ios::binary);
    bytes_.assign(std::istreambuf_iterator<char>(stream), {});
    heldFrom_ = bytes_.size();
    listener_ = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    // Little is in flight to a client that does not read, so that withheld bytes are soon missing.
    const int sendBufferSize = 16'384;
    setsockopt(listener_, SOL_SOCKET, SO_SNDBUF, &sendBufferSize, sizeof sendBufferSize);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    if (bind(listener_, reinterpret_cast<sockaddr*>(&address), size) != 0 || listen(listener_, 8) != 0) std::abort();
    getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
    port_ = ntohs(address.sin_port);
    thread_ = std::thread([this] { serve(); });
}

WebServer::~WebServer() {
    {
        const std::lock_guard lock(mutex_);
        isClosing_ = true;
    }
    changed_.notify_all();
    shutdown(listener_, SHUT_RDWR);
    thread_.join();
    close(listener_);
}

void WebServer::holdBack(std::size_t offset) {
    {
        const std::lock_guard lock(mutex_);
        heldFrom_ = offset;
    }
    changed_.notify_all();
}

bool WebServer::waitFor(std::size_t offset) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return isClosing_ || offset < heldFrom_ || heldFrom_ == bytes_.size(); });
    return !isClosing_;
}

void WebServer::serve() {
    for (int socket = 0; (socket = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;) {
        connections_.push_back({socket, std::thread([this, socket] { answer(socket); })});
    }
    for (Connection& connection : connections_) {
        shutdown(connection.socket, SHUT_RDWR);
        connection.thread.join();
        close(connection.socket);
    }
}

void WebServer::answer(int connection) {
    std::string request;
    std::array<char, pieceSize> piece{};
    while (request.find("\r\n\r\n") == std::string::npos) {
        const ssize_t received = recv(connection, piece.data(), piece.size(), 0);
        if (received <= 0) return;
        request.append(piece.data(), static_cast<std::size_t>(received));
    }
    const std::size_t range = request.find("Range: bytes=");
    std::size_t offset = range == std::string::npos ? 0 : std::strtoull(request.c_str() + range + 13, nullptr, 10);
    offset = std::min(offset, bytes_.size());
    const std::string header =
        "HTTP/1.1 206 Partial Content\r\nConnection: close\r\nAccept-Ranges: bytes\r\nContent-Length: " +
        std::to_string(bytes_.size() - offset) + "\r\nContent-Range: bytes " + std::to_string(offset) + "-" +
        std::to_string(bytes_.size() - 1) + "/" + std::to_string(bytes_.size()) + "\r\n\r\n";
    if (!sendAll(connection, header.data(), header.size())) return;
    while (offset < bytes_.size() && waitFor(offset)) {
        const std::size_t size = std::min(pieceSize, bytes_.size() - offset);
        if (!sendAll(connection, bytes_.data() + offset, size)) return;
        offset += size;
    }
    shutdown(connection, SHUT_WR);
}

SecureWebServer::SecureWebServer(const std::string& folder) {
    std::string scratch = (std::filesystem::temp_directory_path() / "web-server-XXXXXX").string();
    if (!mkdtemp(scratch.data())) return;
    scratch_ = scratch;
    const std::string key = scratch_ + "/key.pem";
    const std::string certificate = scratch_ + "/certificate.pem";
    const std::string make = "openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=127.0.0.1 -addext "
                             "subjectAltName=IP:127.0.0.1 -keyout " +
                             key + " -out " + certificate + " 2>/dev/null";
    if (std::system(make.c_str()) != 0) return;
    std::array<int, 2> output{};
    if (pipe2(output.data(), O_CLOEXEC) != 0) return;
    server_ = fork();
    if (server_ == 0) {
        dup2(output[1], STDOUT_FILENO);
        const int null = open("/dev/null", O_RDWR);
        dup2(null, STDERR_FILENO);
        if (chdir(folder.c_str()) == 0) {
            execlp("openssl", "openssl", "s_server", "-accept", "127.0.0.1:0", "-cert", certificate.c_str(), "-key",
                   key.c_str(), "-WWW", nullptr);
        }
        _exit(127);
    }
    close(output[1]);
    output_ = output[0];
    // It prints its address: "ACCEPT 127.0.0.1:45231".
    std::string line;
    for (char c = 0; read(output[0], &c, 1) == 1;) {
        if (c != '\n') {
            line += c;
            continue;
        }
        if (line.starts_with("ACCEPT ")) {
            address_ = "https://127.0.0.1:" + line.substr(line.rfind(':') + 1);
            break;
        }
        line.clear();
    }
}

SecureWebServer::~SecureWebServer() {
    if (server_ > 0) {
        kill(server_, SIGTERM);
        waitpid(server_, nullptr, 0);
    }
    if (output_ >= 0) close(output_);
    if (!scratch_.empty()) std::filesystem::remove_all(scratch_);
}

}  // namespace videoanalysis
