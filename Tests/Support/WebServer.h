#pragma once
// Web servers of a test's own on the loopback device: one that gives a file and can hold part of it back, and one that
// speaks TLS with a certificate that nothing trusts.

#include <sys/types.h>

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace videoanalysis {

/// Gives one file to any request, from the byte asked for.
class WebServer {
public:
    explicit WebServer(const std::string& file);
    WebServer(const WebServer&) = delete;
    WebServer& operator=(const WebServer&) = delete;
    ~WebServer();

    std::string address() const { return "http://127.0.0.1:" + std::to_string(port_) + "/clip"; }
    /// Nothing from byte `offset` on is sent until `release`.
    void holdBack(std::size_t offset);
    void release() { holdBack(bytes_.size()); }

private:
    void serve();
    void answer(int connection);
    /// Waits until the byte at `offset` may be sent. False when the server closes.
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
    std::vector<Connection> connections_;  // of the server's thread
    std::thread thread_;
};

/// The files of one folder, over TLS.
class SecureWebServer {
public:
    explicit SecureWebServer(const std::string& folder);
    SecureWebServer(const SecureWebServer&) = delete;
    SecureWebServer& operator=(const SecureWebServer&) = delete;
    ~SecureWebServer();

    /// Empty when the server could not be started.
    const std::string& address() const { return address_; }

private:
    std::string scratch_;
    std::string address_;
    int output_ = -1;  // open as long as the server, which writes to it
    pid_t server_ = -1;
};

}  // namespace videoanalysis
