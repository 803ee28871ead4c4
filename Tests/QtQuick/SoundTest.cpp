// The sound of a clip reaches a real sound server, beginning with the picture and ending with it.

#include "QtQuick/OpenScreen.h"
#include "Support/SoundServer.h"

#include <cmath>
#include <vector>

namespace videoanalysis {
namespace {

/// How many times a second the sound crosses zero upward, over its loudest half second; 0 for silence.
double pitchOf(const std::vector<float>& samples) {
    constexpr std::size_t stretch = 4800;
    std::size_t loudest = 0;
    double most = 0;
    for (std::size_t from = 0; from + stretch <= samples.size(); from += stretch / 2) {
        double sum = 0;
        for (std::size_t i = from; i < from + stretch; ++i) sum += std::abs(samples[i]);
        if (sum > most) {
            most = sum;
            loudest = from;
        }
    }
    if (most / stretch < 0.005) return 0;
    int crossings = 0;
    for (std::size_t i = loudest; i + 1 < loudest + stretch; ++i)
        crossings += samples[i] < 0 && samples[i + 1] >= 0 ? 1 : 0;
    return crossings * 48000.0 / stretch;
}

class SoundOnTheScreen : public OpenScreen {
protected:
    SoundServer server;  // before anything looks for devices
};

TEST_F(SoundOnTheScreen, IsHeardWhilePlayingAndNotWhilePaused) {
    if (!server.isRunning()) GTEST_SKIP() << "there is no sound server on this machine";
    open({clip("h264.mp4")});
    server.startListening();
    screen->click(QStringLiteral("playPauseButton"));
    screen->wait(1500);
    screen->click(QStringLiteral("playPauseButton"));
    screen->wait(300);
    EXPECT_NEAR(pitchOf(server.stopListening()), 440, 30);

    server.startListening();
    screen->wait(500);
    EXPECT_EQ(pitchOf(server.stopListening()), 0);
}

}  // namespace
}  // namespace videoanalysis
