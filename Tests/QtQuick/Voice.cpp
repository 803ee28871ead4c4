#include "QtQuick/Voice.h"

#include "Testing/ScreenDriver.h"

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace videoanalysis {
namespace {

constexpr int rate = 48000;
constexpr float loud = 0.1F;

QString control(const QStringList& arguments) {
    QProcess process;
    process.start(QStringLiteral("pactl"), arguments);
    process.waitForFinished(5000);
    return QString::fromUtf8(process.readAllStandardOutput()).trimmed();
}

}  // namespace

Voice::Voice() {
    if (!server_.isRunning()) return;
    // A loudspeaker that takes sound in small portions, and hands it on as quickly.
    unplug();
    control({"load-module", "module-null-sink", "sink_name=speaker", "rate=48000", "norewinds=1"});
    control({"load-module", "module-remap-source", "source_name=microphone", "master=speaker.monitor"});
    isReady_ = control({"list", "short", "sources"}).contains(QLatin1String("microphone"));
    control({"set-default-source", "microphone"});
    const QStringList stream{"--raw", "--format=float32le", "--rate=48000", "--channels=1", "--latency-msec=10"};
    player_.start(QStringLiteral("pacat"), QStringList(stream) << "--playback"
                                                               << "--device=speaker");
    listener_.start(QStringLiteral("pacat"), QStringList(stream) << "--record"
                                                                 << "--device=speaker.monitor");
    QObject::connect(&listener_, &QProcess::readyReadStandardOutput, [this] { listen(); });
    player_.waitForStarted();
}

Voice::~Voice() {
    for (QProcess* process : {&player_, &listener_}) {
        process->terminate();
        process->waitForFinished(3000);
    }
}

void Voice::unplug() { control({"unload-module", "module-null-sink"}); }

int Voice::listeners() {
    return static_cast<int>(
        control({"list", "short", "source-outputs"}).split(QLatin1Char('\n'), Qt::SkipEmptyParts).size());
}

void Voice::listen() {
    const Clock::time_point now = Clock::now();
    const QByteArray bytes = listener_.readAllStandardOutput();
    const auto count = static_cast<std::size_t>(bytes.size()) / sizeof(float);
    std::vector<float> samples(count);
    std::memcpy(samples.data(), bytes.constData(), count * sizeof(float));
    for (std::size_t i = 0; i < count && heard_ == Clock::time_point(); ++i) {
        if (std::abs(samples[i]) < loud) continue;
        heard_ = now - std::chrono::microseconds(static_cast<std::int64_t>(count - i) * 1000000 / rate);
    }
}

Voice::Clock::time_point Voice::beep() {
    std::vector<float> tone(rate / 5);
    for (std::size_t i = 0; i < tone.size(); ++i) tone[i] = 0.5F * std::sin(static_cast<float>(i) * 0.13F);
    heard_ = {};
    player_.write(reinterpret_cast<const char*>(tone.data()), static_cast<qint64>(tone.size() * sizeof(float)));
    host::ScreenDriver::wait([&] { return heard_ != Clock::time_point(); }, 3000);
    return heard_;
}

}  // namespace videoanalysis
