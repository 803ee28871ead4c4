// Recording the real screen: what the file shows and sounds like, and that nothing is ever lost.

#include "QtQuick/OpenScreen.h"
#include "QtQuick/Voice.h"

#include "Platforms/QtQuick/QtScreenRecorder.h"
#include "Tests/Support/FrameNumber.h"
#include "Tests/Support/Movies.h"
#include "VideoAnalysis/Analysis/Actions.h"
#include "VideoAnalysis/Platform/Platform.h"

#include <QDir>
#include <QLoggingCategory>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace videoanalysis {
namespace {

using Clock = std::chrono::steady_clock;

/// The lines that the component and its platform log while it lives.
class LogLines {
public:
    LogLines() {
        QLoggingCategory::setFilterRules(QStringLiteral("videoanalysis.debug=true"));
        lines.clear();
        before_ = qInstallMessageHandler(&add);
    }
    ~LogLines() {
        qInstallMessageHandler(before_);
        QLoggingCategory::setFilterRules({});
    }
    LogLines(const LogLines&) = delete;
    LogLines& operator=(const LogLines&) = delete;

    /// Those about recordings.
    static QStringList aboutRecordings() { return lines.filter(QStringLiteral("record"), Qt::CaseInsensitive); }

private:
    static void add(QtMsgType, const QMessageLogContext& context, const QString& message) {
        if (qstrcmp(context.category, "videoanalysis") == 0) lines << message;
    }
    static inline QStringList lines;
    QtMessageHandler before_;
};

class RecordingTest : public OpenScreen {
protected:
    RecordingTest() {
        qputenv("XDG_DATA_HOME", folder.filePath(QStringLiteral("data")).toUtf8());
        qputenv("HOME", folder.path().toUtf8());
    }

    void ask(bool forRecording) { mainStore().dispatch(SetScreenRecordingStateAction(forRecording)); }
    bool isAsked() const { return mainStore().state().mainViewControllerState.isScreenRecording; }
    bool hasStarted() const { return mainStore().state().mainViewControllerState.hasStartedRecording; }
    void record() {
        ask(true);
        ASSERT_TRUE(screen->wait([&] { return recorder().isRecording(); }));
    }
    QtScreenRecorder& recorder() { return dynamic_cast<QtScreenRecorder&>(platform().screenRecorder()); }

    QStringList saved() const {
        QStringList paths;
        const QDir movies(host::HostApplication::recordingsFolder());
        for (const QString& name : movies.entryList({QStringLiteral("*.mp4")}, QDir::Files, QDir::Name)) {
            paths << movies.filePath(name);
        }
        return paths;
    }
    /// Stops, and returns the path of the movie that the host was given and has saved.
    std::string finish() {
        const auto before = saved().size();
        ask(false);
        EXPECT_TRUE(screen->wait([&] { return saved().size() == before + 1 && !host->recordingNotice().isEmpty(); }));
        return saved().isEmpty() ? std::string() : saved().last().toStdString();
    }
    QString growing() const { return QDir(folder.path()).filePath(QStringLiteral("data")); }

    QTemporaryDir folder;
    std::unique_ptr<QObject> observing = std::make_unique<QObject>();
};

/// The number that a player's picture carries on a recorded picture of the whole window.
std::optional<int> numberIn(const std::vector<unsigned char>& picture, QSize size, const QRectF& place) {
    return readFrameNumber(picture.data(), size.width(), size.height(), std::ptrdiff_t{4} * size.width(),
                           {place.x(), place.y(), place.width(), place.height()});
}

TEST_F(RecordingTest, EveryFrameOfBothPlayersIsOnTheRecordedPictureAtItsTime) {
    const QSize size(1280, 800);
    open({clip("h264.mp4"), clip("h264.mp4")}, size);
    const LogLines log;
    const QRectF left = screen->pictureOf(0);
    const QRectF right = screen->pictureOf(1);
    // When the window first showed each frame of each player.
    std::vector<std::map<int, double>> onScreen(2);
    const Clock::time_point start = Clock::now();
    QObject::connect(&host->window(), &QQuickWindow::frameSwapped, observing.get(), [&] {
        const double seconds = std::chrono::duration<double>(Clock::now() - start).count();
        for (std::size_t player = 0; player < 2; ++player) {
            onScreen[player].emplace(static_cast<int>(screen->frameIndex(player).value_or(-1)), seconds);
        }
    });
    record();
    EXPECT_TRUE(screen->wait([&] { return hasStarted(); }));
    ASSERT_TRUE(screen->click("playPauseButton", 0));
    screen->wait(300);
    ASSERT_TRUE(screen->click("playPauseButton", 1));
    screen->wait(2500);
    observing.reset();
    const std::string movie = finish();
    EXPECT_EQ(LogLines::aboutRecordings(), QStringList{"The recording is silent: there is no microphone"});
    EXPECT_TRUE(QDir(growing()).entryList({"*.mp4"}, QDir::Files).isEmpty());

    const MovieFacts facts = factsOf(movie);
    EXPECT_EQ(facts.videoCodec, "h264");
    EXPECT_EQ(facts.soundCodec, "");
    EXPECT_EQ(QSize(facts.width, facts.height), size);
    EXPECT_TRUE(facts.indexComesFirst);
    EXPECT_EQ(facts.complaints, "");
    const double rate = static_cast<double>(facts.pictureTimes.size()) / facts.end();
    EXPECT_LT(rate, 31.5);
    EXPECT_GT(rate, 20) << "on a machine that is not busy it is 30";
    EXPECT_EQ(recorder().movieStatistics().dropped, 0);
    const auto pictures = picturesOf(movie, size.width(), size.height());
    ASSERT_EQ(pictures.size(), facts.pictureTimes.size());
    for (std::size_t player = 0; player < 2; ++player) {
        std::vector<double> offsets;  // of each frame's time on the recording from that on the screen
        int last = 0;
        for (std::size_t i = 0; i < pictures.size(); ++i) {
            const auto number = numberIn(pictures[i], size, player == 0 ? left : right);
            ASSERT_TRUE(number) << i;
            if (*number == last) continue;
            ASSERT_GT(*number, last) << "no picture goes back";
            last = *number;
            ASSERT_TRUE(onScreen[player].contains(last)) << last;
            offsets.push_back(facts.pictureTimes[i] - onScreen[player][last]);
        }
        ASSERT_GT(offsets.size(), 10U);
        EXPECT_GT(offsets.size() * 5, onScreen[player].size() * 4)
            << "hardly a frame that was on the screen is missing";
        std::sort(offsets.begin(), offsets.end());
        // Those that follow one another too quickly come with the next one, and the machine may be busy now and then.
        EXPECT_LT(offsets.back() - offsets.front(), 0.15);
        EXPECT_LT(offsets[offsets.size() * 9 / 10] - offsets[offsets.size() / 10], 0.04);
    }
}

TEST_F(RecordingTest, DrawingsAndAWindowOfAnotherShapeAreOnThePicture) {
    open({clip("h264.mp4")}, QSize(1000, 800));
    record();
    screen->wait(100);
    screen->drawWithMouse(stroke(0, 0.5));
    settle();
    const QPointF inked = at(0, 0.5, 0.5);
    host->window().resize(800, 1000);
    ASSERT_TRUE(screen->wait([&] { return screen->pictureOf(0).width() < 810; }));
    settle();
    const QRectF place = screen->pictureOf(0);
    const std::string movie = finish();
    const MovieFacts facts = factsOf(movie);
    EXPECT_EQ(QSize(facts.width, facts.height), QSize(1000, 800)) << "it keeps its size";
    EXPECT_EQ(facts.complaints, "");

    const auto pictures = picturesOf(movie, 1000, 800);
    const auto imageOf = [](const std::vector<unsigned char>& picture) {
        return QImage(picture.data(), 1000, 800, QImage::Format_RGB32);
    };
    const auto isDrawn = [&](const auto& picture) {
        const QColor color = imageOf(picture).pixelColor(inked.toPoint());
        return color.red() < 60 && color.green() > 190 && color.blue() > 210;
    };
    EXPECT_FALSE(isDrawn(pictures.front()));
    EXPECT_TRUE(std::any_of(pictures.begin(), pictures.end(), isDrawn));
    const double scale = 800.0 / 1000;
    const QRectF shown((1000 - 800 * scale) / 2 + place.x() * scale, place.y() * scale, place.width() * scale,
                       place.height() * scale);
    EXPECT_EQ(numberIn(pictures.back(), QSize(1000, 800), shown), 0);
    EXPECT_EQ(imageOf(pictures.back()).pixelColor(80, 400), QColor(Qt::black));
}

// VIDEOANALYSIS_LONG=1 makes it two minutes.
TEST_F(RecordingTest, SoundAndPictureStayTogetherAndALostMicrophoneLeavesSilence) {
    Voice voice;
    ASSERT_TRUE(voice.isReady()) << "there is no sound server on this machine";
    open({clip("h264.mp4")}, QSize(640, 400));
    const LogLines log;
    QQmlComponent component(host->window().engine());
    component.setData("import QtQuick\nRectangle { width: 100; height: 100; x: 300; y: 100; z: 90000; color: 'white'; "
                      "visible: false }",
                      {});
    const std::unique_ptr<QQuickItem> flash(qobject_cast<QQuickItem*>(component.create()));
    flash->setParentItem(host->window().contentItem());

    const bool isLong = std::getenv("VIDEOANALYSIS_LONG") != nullptr;
    record();
    const Clock::time_point start = Clock::now();
    const auto secondsOf = [&](Clock::time_point moment) {
        return std::chrono::duration<double>(moment - start).count();
    };
    std::vector<double> leads;  // of each tone before its flash
    const int count = isLong ? 13 : 3;
    for (int i = 0; i < count; ++i) {
        screen->wait(i == 0 ? 500 : isLong ? 9000 : 700);
        const double heard = secondsOf(voice.beep());
        ASSERT_GT(heard, 0);
        double flashed = 0;  // when the window showed it
        const auto token = QObject::connect(&host->window(), &QQuickWindow::frameSwapped, [&] {
            if (flashed == 0) flashed = secondsOf(Clock::now());
        });
        flash->setVisible(true);
        screen->wait(300);
        QObject::disconnect(token);
        flash->setVisible(false);
        leads.push_back(flashed - heard);
    }
    Voice::unplug();
    screen->wait(2500);
    const std::string movie = finish();
    EXPECT_EQ(LogLines::aboutRecordings(), QStringList{"The recording goes on without sound: the microphone is gone"});

    const MovieFacts facts = factsOf(movie);
    EXPECT_EQ(facts.soundCodec, "aac");
    EXPECT_EQ(facts.complaints, "");
    EXPECT_NEAR(facts.soundDuration, facts.end(), 0.15);
    const std::vector<float> samples = soundOf(movie);
    std::vector<double> tones;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (std::abs(samples[i]) < 0.1F) continue;
        tones.push_back(static_cast<double>(i) / 48000);
        i += 24000;
    }
    std::vector<double> flashes;
    const auto pictures = picturesOf(movie, 64, 40);
    ASSERT_EQ(pictures.size(), facts.pictureTimes.size());
    bool wasWhite = false;
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        const bool isWhite = pictures[i][(15 * 64 + 35) * 4] > 200;
        if (isWhite && !wasWhite) flashes.push_back(facts.pictureTimes[i]);
        wasWhite = isWhite;
    }
    ASSERT_EQ(tones.size(), leads.size());
    ASSERT_EQ(flashes.size(), leads.size());
    for (std::size_t i = 0; i < leads.size(); ++i) {
        const double offset = flashes[i] - tones[i] - leads[i];
        std::printf("sound to picture after %.1f s: %.1f ms\n", tones[i], offset * 1000);
        EXPECT_LT(std::abs(offset), 0.04) << "after " << tones[i] << " s";
    }
}

TEST_F(RecordingTest, HastyTapsAndAnUnwritableFolderLeaveTheScreenAsItWas) {
    open({clip("h264.mp4")});
    {
        const LogLines log;
        ask(true);
        screen->wait(1);
        ask(false);  // before it has begun
        screen->wait(1);
        ask(true);
        screen->wait(1);
        ask(false);
        // It began and was stopped before a picture was shown.
        ASSERT_TRUE(screen->wait([&] { return LogLines::aboutRecordings().size() == 2; }));
        EXPECT_EQ(LogLines::aboutRecordings()[1], QStringLiteral("nothing was recorded"));
        EXPECT_FALSE(recorder().isRecording());
        EXPECT_FALSE(isAsked());
        EXPECT_TRUE(saved().isEmpty());
    }
    record();
    recorder().startRecording([](const recording::Error& error) { EXPECT_TRUE(error); });
    screen->wait(200);
    const MovieFacts facts = factsOf(finish());
    EXPECT_EQ(facts.complaints, "");

    QDir(folder.filePath(QStringLiteral("data"))).removeRecursively();
    QFile(folder.filePath(QStringLiteral("data"))).open(QIODevice::WriteOnly);
    const LogLines log;
    const bool before = hasStarted();
    ask(true);
    ASSERT_TRUE(screen->wait([&] { return LogLines::aboutRecordings().size() == 2; }));
    screen->wait(100);
    EXPECT_FALSE(recorder().isRecording());
    EXPECT_EQ(hasStarted(), before);
    EXPECT_TRUE(LogLines::aboutRecordings()[1].contains("cannot record"))
        << LogLines::aboutRecordings()[1].toStdString();
    ask(false);
    QFile::remove(folder.filePath(QStringLiteral("data")));
    record();
    screen->wait(100);
    EXPECT_EQ(factsOf(finish()).complaints, "");
}

TEST_F(RecordingTest, AnInterruptedRecordingIsOfferedBackAtTheNextStart) {
    for (const char* answer : {"openInterruptedButton", "discardInterruptedButton"}) {
        SCOPED_TRACE(answer);
        open({clip("h264.mp4")});
        EXPECT_EQ(host->interruptedRecording(), QString());
        record();
        screen->wait(700);
        // The program ends without a word.
        mainStore().dispatch(DismissAction(false, {}));
        mainStore().dispatch(ClearStateAction());
        screen->wait(100);
        screen.reset();
        host.reset();
        installPlatform(nullptr);

        host = std::make_shared<host::HostApplication>(QStringList{clip("h264.mp4")}, [](const QString&) {});
        host->show();
        screen = std::make_unique<host::ScreenDriver>(host->window());
        ASSERT_NE(host->interruptedRecording(), QString());
        auto* card = host->window().rootObject()->findChild<QQuickItem*>("interruptedCard");
        ASSERT_TRUE(card && card->isVisible());
        auto* button = host->window().rootObject()->findChild<QQuickItem*>(QLatin1String(answer));
        screen->wait(50);
        screen->grab();
        screen->clickAt(screen->rectOf(button).center());
        if (std::string(answer) == "discardInterruptedButton") {
            EXPECT_TRUE(card->isVisible()) << "asks once more";
            screen->clickAt(screen->rectOf(button).center());
            EXPECT_EQ(saved().size(), 1) << "of the round before";
        } else {
            ASSERT_TRUE(screen->wait(
                [&] { return screen->playerCount() == 1 && screen->player(0) && screen->player(0)->currentFrame(); }));
            ASSERT_EQ(saved().size(), 1);
            const MovieFacts facts = factsOf(saved()[0].toStdString());
            EXPECT_EQ(facts.complaints, "");
            EXPECT_TRUE(facts.indexComesFirst);
            EXPECT_NEAR(facts.end(), 0.8, 0.35);
            settle();
            close();
        }
        EXPECT_FALSE(card->isVisible());
        EXPECT_EQ(host->interruptedRecording(), QString());
        screen.reset();
        host.reset();
    }
}

}  // namespace
}  // namespace videoanalysis
