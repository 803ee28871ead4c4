#pragma once
// Private web servers for tests on the loopback interface: one that serves a file and can delay part of it, and one that uses
// TLS with an untrusted certificate.

#include <sys/types.h>

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace videoanalysis {

/// Serves one file for every request, from the requested byte on.
class WebServer {
public:
    explicit WebServer(const std::string& file);
    WebServer(const WebServer&) = delete;
    WebServer& operator=(const WebServer&) = delete;
    ~WebServer();

    std::string address() const { return "http://127.0.0.1:" + std::to_string(port_) + "/clip"; }
    /// Delays the bytes from `offset` on until `release`.
    void holdBack(std::size_t offset);
    void release() { holdBack(bytes_.size()); }

private:
    void serve();
    void answer(int connection);
    /// Waits until the byte at `offset` may be sent. False if the server is closing.
    bool waitFor(std::size_t offset);

    std::string bytes_;
    int listener_ = -1;
    int port_ = 0;
    std::mutex mutex_;
    std::condition_variable changed_;
    std::size_t heldFrom_;
    bool isClosing_ = false;
    struct Connection {
        int socket;
        std::thread thread;
    };
    std::vector<Connection> connections_;  // server thread only
    std::thread thread_;
};

/// Serves the files of a folder over TLS.
class SecureWebServer {
public:
    explicit SecureWebServer(const std::string& folder);
    SecureWebServer(const SecureWebServer&) = delete;
    SecureWebServer& operator=(const SecureWebServer&) = delete;
    ~SecureWebServer();

    /// Empty if the server could not be started.
    const std::string& address() const { return address_; }

private:
    std::string scratch_;
    std::string address_;
    int output_ = -1;  // the server writes to it until it exits
    pid_t server_ = -1;
};

}  // namespace videoanalysis
