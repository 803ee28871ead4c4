// Recording the real screen: what the file shows and sounds like, and that nothing is ever lost.

#include "QtQuick/OpenScreen.h"
#include "QtQuick/RecordingProgram.h"
#include "QtQuick/Voice.h"

#include "Platforms/FFmpeg/Recording/MovieFolder.h"
#include "Platforms/QtQuick/QtScreenRecorder.h"
#include "Platforms/QtQuick/SceneCapture.h"
#include "Testing/FrameNumber.h"
#include "Tests/Support/Movies.h"
#include "VideoAnalysis/Analysis/Actions.h"
#include "VideoAnalysis/Platform/Dispatch.h"
#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Screen/MainViewController.h"

#include <QDir>
#include <QElapsedTimer>
#include <QLoggingCategory>
#include <QQmlComponent>
#include <QQmlEngine>
#include <QTemporaryDir>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include <sys/resource.h>

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
        ASSERT_TRUE(until([&] { return recorder().isRecording(); }));
    }
    /// Until `count` more pictures are in the movie, new ones or repeated ones.
    void waitForPictures(std::int64_t count) {
        const auto written = [&] {
            const recording::MovieStatistics statistics = recorder().statistics().movie;
            return statistics.taken + statistics.repeated;
        };
        const std::int64_t before = written();
        EXPECT_TRUE(until(
            "more pictures are recorded", [&] { return written() >= before + count; }, {}, 30000));
    }
    /// Every state that was dispatched, and what comes of it, has been delivered.
    static void deliver() {
        host::ScreenDriver::wait([] { return dispatch::mainQueue().isEmpty(); });
    }
    qt::QtScreenRecorder& recorder() { return dynamic_cast<qt::QtScreenRecorder&>(platform().screenRecorder()); }

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
        EXPECT_TRUE(until([&] { return saved().size() == before + 1 && !host->recordingNotice().isEmpty(); }));
        return saved().isEmpty() ? std::string() : saved().last().toStdString();
    }
    /// What is in the folder where recordings grow.
    QStringList inFolder(const char* pattern) const {
        return growing().entryList({QLatin1String(pattern)}, QDir::Files | QDir::Hidden);
    }
    QDir growing() const {
        return folder.filePath(QStringLiteral("data/") + QCoreApplication::applicationName() +
                               QStringLiteral("/recordings"));
    }

    QTemporaryDir folder;
    std::unique_ptr<QObject> observing = std::make_unique<QObject>();
};

/// The number that a player's picture carries on a recorded picture of the whole window.
std::optional<int> numberIn(const std::vector<unsigned char>& picture, QSize size, const QRectF& place) {
    return readFrameNumber(picture.data(), size.width(), size.height(), std::ptrdiff_t{4} * size.width(),
                           {place.x(), place.y(), place.width(), place.height()});
}

TEST_F(RecordingTest, RecordsEveryFrameOfBothPlayersAtItsTime) {
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
    EXPECT_TRUE(until([&] { return hasStarted(); }));
    ASSERT_TRUE(screen->click("playPauseButton", 0));
    ASSERT_TRUE(until("the first player is ahead", [&] { return *screen->frameIndex(0) >= 9; }));
    ASSERT_TRUE(screen->click("playPauseButton", 1));
    ASSERT_TRUE(until("both have played for a while", [&] { return *screen->frameIndex(1) >= 75; }));
    observing.reset();
    const std::string movie = finish();
    EXPECT_EQ(LogLines::aboutRecordings(), QStringList{"The recording is silent: there is no microphone"});
    EXPECT_TRUE(inFolder("*").isEmpty());

    const MovieFacts facts = factsOf(movie);
    EXPECT_EQ(facts.videoCodec, "h264");
    EXPECT_EQ(facts.soundCodec, "");
    EXPECT_EQ(QSize(facts.width, facts.height), size);
    EXPECT_TRUE(facts.indexComesFirst);
    EXPECT_EQ(facts.complaints, "");
    const double rate = static_cast<double>(facts.pictureTimes.size()) / facts.end();
    EXPECT_LT(rate, 31.5);
    EXPECT_GT(rate, 20) << "on a machine that is not busy it is 30";
    EXPECT_EQ(recorder().statistics().movie.dropped, 0);
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

TEST_F(RecordingTest, RecordsDrawingsAndAResizedWindow) {
    open({clip("h264.mp4")}, QSize(1000, 800));
    record();
    waitForPictures(1);
    screen->drawWithMouse(stroke(0, 0.5));
    waitForPictures(2);
    const QPointF inked = at(0, 0.5, 0.5);
    host->window().resize(800, 1000);
    ASSERT_TRUE(until([&] { return screen->pictureOf(0).width() < 810; }));
    waitUntilIdle();
    waitForPictures(2);
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
TEST_F(RecordingTest, KeepsSoundInSyncAndRecordsSilenceWithoutAMicrophone) {
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
        waitForPictures(isLong && i > 0 ? 270 : 20);  // so that tones and flashes are apart
        const double heard = secondsOf(voice.beep());
        ASSERT_GT(heard, 0);
        double flashed = 0;  // when the window showed it
        const auto token = QObject::connect(&host->window(), &QQuickWindow::frameSwapped, [&] {
            if (flashed == 0) flashed = secondsOf(Clock::now());
        });
        flash->setVisible(true);
        waitForPictures(9);
        QObject::disconnect(token);
        flash->setVisible(false);
        leads.push_back(flashed - heard);
    }
    Voice::unplug();
    EXPECT_TRUE(until("the microphone is missed", [&] { return !LogLines::aboutRecordings().isEmpty(); }));
    waitForPictures(30);
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

TEST_F(RecordingTest, RapidTapsAndAnUnwritableFolderLeaveTheScreenUnchanged) {
    open({clip("h264.mp4")});
    {
        const LogLines log;
        ask(true);
        deliver();
        ask(false);  // before it has begun
        deliver();
        ask(true);
        deliver();
        ask(false);
        // When it began nothing asked for it any longer.
        ASSERT_TRUE(until([&] { return !LogLines::aboutRecordings().isEmpty() && recorder().isIdle(); }));
        EXPECT_EQ(LogLines::aboutRecordings(), QStringList{"The recording is silent: there is no microphone"});
        EXPECT_FALSE(hasStarted());
        EXPECT_FALSE(isAsked());
        EXPECT_TRUE(inFolder("*").isEmpty());
        EXPECT_TRUE(saved().isEmpty());
    }
    record();
    recording::Error error;
    recorder().startRecording([&](const recording::Error& answer) { error = answer; });
    EXPECT_TRUE(until("the second start is refused", [&] { return error.has_value(); }));
    waitForPictures(2);
    const MovieFacts facts = factsOf(finish());
    EXPECT_EQ(facts.complaints, "");
    record();
    recorder().stopRecording(URL::fileURL(folder.filePath(QStringLiteral("own.mp4")).toStdString()),
                             [](const auto&) {});
    EXPECT_FALSE(recorder().isRecording()) << "from the moment the stop is asked for";
    EXPECT_FALSE(recorder().isIdle());
    ask(false);
    ASSERT_TRUE(until([&] { return recorder().isIdle(); }));

    QDir(folder.filePath(QStringLiteral("data"))).removeRecursively();
    QFile(folder.filePath(QStringLiteral("data"))).open(QIODevice::WriteOnly);
    const LogLines log;
    const bool before = hasStarted();
    ask(true);
    ASSERT_TRUE(until([&] { return LogLines::aboutRecordings().size() == 2; }));
    deliver();
    EXPECT_FALSE(recorder().isRecording());
    EXPECT_EQ(hasStarted(), before);
    EXPECT_TRUE(LogLines::aboutRecordings()[1].contains("cannot record"))
        << LogLines::aboutRecordings()[1].toStdString();
    ask(false);
    QFile::remove(folder.filePath(QStringLiteral("data")));
    record();
    waitForPictures(2);
    EXPECT_EQ(factsOf(finish()).complaints, "");
}

TEST_F(RecordingTest, OffersAnInterruptedRecordingAtTheNextStart) {
    for (const char* answer : {"openUnsavedButton", "discardUnsavedButton"}) {
        SCOPED_TRACE(answer);
        {
            RecordingProgram program(folder.path(), 60000);
            ASSERT_TRUE(program.waitFor([&] {
                const QStringList files = inFolder("*.growing.mp4");
                return !files.isEmpty() && QFileInfo(growing().filePath(files[0])).size() > 5000;
            }));
            program.kill();
        }
        host = std::make_shared<host::HostApplication>(QStringList{clip("h264.mp4")}, [](const QString&) {});
        host->show();
        screen = std::make_unique<host::ScreenDriver>(host->window());
        ASSERT_NE(host->unsavedRecording(), QString());
        auto* card = host->window().rootObject()->findChild<QQuickItem*>("unsavedCard");
        ASSERT_TRUE(card && card->isVisible());
        auto* button = host->window().rootObject()->findChild<QQuickItem*>(QLatin1String(answer));
        ASSERT_TRUE(until("the start screen is shown", [&] { return host->window().isExposed(); }));
        waitUntilIdle();
        screen->clickAt(screen->rectOf(button).center());
        if (std::string(answer) == "discardUnsavedButton") {
            EXPECT_TRUE(card->isVisible()) << "asks once more";
            screen->clickAt(screen->rectOf(button).center());
            EXPECT_EQ(saved().size(), 1) << "of the round before";
        } else {
            ASSERT_TRUE(until("the recording is opened", [&] {
                return screen->playerCount() == 1 && screen->player(0) && screen->player(0)->currentFrame();
            }));
            ASSERT_EQ(saved().size(), 1);
            const MovieFacts facts = factsOf(saved()[0].toStdString());
            EXPECT_EQ(facts.complaints, "");
            EXPECT_TRUE(facts.indexComesFirst);
            EXPECT_GT(facts.end(), 0.1);
            waitUntilIdle();
            close();
        }
        EXPECT_FALSE(card->isVisible());
        EXPECT_EQ(host->unsavedRecording(), QString());
        screen.reset();
        host.reset();
    }
}

TEST_F(RecordingTest, OffersARecordingThatCouldNotBeSaved) {
    open({clip("h264.mp4")});
    record();
    ASSERT_TRUE(until([&] { return recorder().statistics().movie.taken > 0; }));
    // Where the user's recordings should go there is something else.
    const QString wanted = host::HostApplication::recordingsFolder();
    QDir().mkpath(QFileInfo(wanted).path());
    ASSERT_TRUE(QFile(wanted).open(QIODevice::WriteOnly));
    ask(false);
    ASSERT_TRUE(until([&] { return !host->unsavedRecording().isEmpty(); }));
    EXPECT_TRUE(host->recordingNotice().contains(wanted)) << host->recordingNotice().toStdString();
    close();
    screen.reset();
    host.reset();
    installPlatform(nullptr);

    host = std::make_shared<host::HostApplication>(QStringList{clip("h264.mp4")}, [](const QString&) {});
    ASSERT_NE(host->unsavedRecording(), QString());
    const QString target = folder.filePath(QStringLiteral("saved by hand.mp4"));
    host->saveUnsaved(QUrl::fromLocalFile(target));
    ASSERT_TRUE(host::ScreenDriver::wait([&] { return host->recordingNotice().contains(target); }));
    EXPECT_EQ(factsOf(target.toStdString()).complaints, "");
    EXPECT_EQ(host->unsavedRecording(), QString());
    EXPECT_TRUE(inFolder("*").isEmpty());
    host.reset();
}

TEST_F(RecordingTest, ReportsAFailureAtOnceAndSavesWhatWasRecorded) {
    open({clip("h264.mp4")}, QSize(1280, 800));
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    ::getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small{400000, before.rlim_max};
    ::setrlimit(RLIMIT_FSIZE, &small);  // as if the disk were full
    record();
    ASSERT_TRUE(screen->click("playPauseButton", 0));
    const auto* banner = host->window().contentItem()->findChild<QQuickItem*>("recordingBanner");
    const bool isSeen = until([&] { return banner && banner->isVisible(); }, 60000);
    ::setrlimit(RLIMIT_FSIZE, &before);
    ASSERT_TRUE(isSeen);
    EXPECT_TRUE(host->recordingNotice().startsWith("The recording broke off: File too large"))
        << host->recordingNotice().toStdString();
    ASSERT_TRUE(until([&] { return saved().size() == 1 && host->recordingNotice().contains(saved()[0]); }));
    EXPECT_FALSE(isAsked());
    EXPECT_EQ(factsOf(saved()[0].toStdString()).complaints, "");
    save("break-off.png");
}

TEST_F(RecordingTest, OpensTheMicrophoneOnlyWhileRecording) {
    Voice voice;
    ASSERT_TRUE(voice.isReady()) << "there is no sound server on this machine";
    open({clip("h264.mp4")});
    const int others = Voice::listeners();
    const auto isOpen = [&](bool expected) { return until([&] { return (Voice::listeners() > others) == expected; }); };
    const auto isTaken = [&] { return until([&] { return recorder().statistics().movie.taken > 0; }); };
    record();
    EXPECT_TRUE(isOpen(true));
    ASSERT_TRUE(isTaken());
    finish();
    EXPECT_TRUE(isOpen(false)) << "after a stop";

    // Its screen goes, as by a press beside a popover.
    record();
    EXPECT_TRUE(isOpen(true));
    ASSERT_TRUE(isTaken());
    MainViewController::of(mainStore().state())->dismiss(true, {});
    EXPECT_FALSE(recorder().isRecording());
    EXPECT_TRUE(isOpen(false)) << "without its screen";
    EXPECT_TRUE(until([&] { return saved().size() == 2; })) << "delivered as usual";

    // Before it has begun.
    reopen();
    ask(true);
    deliver();
    mainStore().dispatch(DismissAction(false, {}));
    mainStore().dispatch(ClearStateAction());
    EXPECT_TRUE(until([&] { return recorder().isIdle(); }));
    EXPECT_TRUE(isOpen(false)) << "of a start that nothing asks for any longer";
    EXPECT_EQ(saved().size(), 2);
    EXPECT_TRUE(inFolder("*").isEmpty());
}

// Every way in which a window's pictures are taken, the one for other graphics interfaces too.
TEST_F(RecordingTest, RecordsTheLastChangeBeforeTheScreenIsIdle) {
    for (const auto method : {qt::SceneCapture::Method::painter, qt::SceneCapture::Method::layer}) {
        SCOPED_TRACE(static_cast<int>(method));
        QQuickWindow window;
        window.resize(64, 64);
        window.show();
        ASSERT_TRUE(host::ScreenDriver::wait([&] { return window.isExposed(); }));
        QQmlEngine engine;
        QQmlComponent component(&engine);
        component.setData("import QtQuick\nRectangle { width: 64; height: 64; color: 'red' }", {});
        const std::unique_ptr<QQuickItem> item(qobject_cast<QQuickItem*>(component.create()));
        item->setParentItem(window.contentItem());
        QColor last;
        int count = 0;
        Clock::time_point taken;
        const std::unique_ptr<qt::SceneCapture> capture(new qt::SceneCapture(
            window, 10,
            [&](const std::uint8_t* pixels, QSize size, std::ptrdiff_t bytesPerRow, Clock::time_point) {
                const std::uint8_t* pixel =
                    pixels + size.height() / 2 * bytesPerRow + std::ptrdiff_t{4} * (size.width() / 2);
                last = QColor(pixel[2], pixel[1], pixel[0]);
                ++count;
                taken = Clock::now();
            },
            method));
        ASSERT_TRUE(host::ScreenDriver::wait([&] { return last == QColor(Qt::red); }));
        double longest = 0;
        for (const QColor color : {QColor(Qt::green), QColor(Qt::blue), QColor(Qt::yellow)}) {
            const Clock::time_point changed = Clock::now();
            item->setProperty("color", color);  // too soon after the last one for ten pictures a second
            ASSERT_TRUE(host::ScreenDriver::wait([&] { return last == color; }));
            longest = std::max(longest, std::chrono::duration<double>(taken - changed).count());
        }
        std::printf("a change is taken after %.0f ms at most\n", longest * 1000);
        EXPECT_LT(longest, 0.25);
        host::ScreenDriver::passFrames(12);
        const int before = count;
        host::ScreenDriver::passFrames(30);
        EXPECT_LE(count, before) << "nothing changes, nothing is rendered";
        EXPECT_LE(count, 6);
    }
}

// VIDEOANALYSIS_STORIES=50 makes it as many.
TEST_F(RecordingTest, RecordingSurvivesWheneverTheProgramEnds) {
    const char* wanted = std::getenv("VIDEOANALYSIS_STORIES");
    const int stories = wanted ? std::atoi(wanted) : 4;
    std::mt19937 random(static_cast<unsigned>(stories));
    enum Moment { recording, stopped, finalizing, handingOver, momentCount };
    std::map<QString, int> places;
    int lost = 0;
    for (int i = 0; i < stories; ++i) {
        const int moment = i % momentCount;
        const bool isKilled = random() % 2 == 0;
        SCOPED_TRACE(QStringLiteral("story %1: %2 at moment %3")
                         .arg(i)
                         .arg(isKilled ? "killed" : "closed")
                         .arg(moment)
                         .toStdString());
        const QTemporaryDir home;
        const QDir growing(home.filePath(QStringLiteral("data/") + QCoreApplication::applicationName() +
                                         QStringLiteral("/recordings")));
        const QDir movies(home.filePath(QStringLiteral("Videos/Video analysis")));
        const auto find = [](const QDir& where, const char* pattern) {
            QStringList paths;
            for (const QString& name : where.entryList({QLatin1String(pattern)}, QDir::Files | QDir::Hidden)) {
                paths << where.filePath(name);
            }
            return paths;
        };
        const auto isSaved = [&] { return !find(movies, "*").isEmpty(); };
        RecordingProgram program(home.path(), std::uniform_int_distribution(700, 2000)(random));
        ASSERT_TRUE(program.waitFor("records"));
        // The first fragment is on the disk.
        ASSERT_TRUE(program.waitFor([&] {
            const QStringList files = find(growing, "*.growing.mp4");
            return isSaved() || (!files.isEmpty() && QFileInfo(files[0]).size() > 5000);
        }));
        ASSERT_TRUE(moment < stopped || program.waitFor("stopped"));
        ASSERT_TRUE(moment != finalizing ||
                    program.waitFor([&] { return isSaved() || find(growing, "*").size() > 1; }));
        ASSERT_TRUE(moment != handingOver || program.waitFor([&] { return find(growing, "*.growing.mp4").isEmpty(); }));
        const int longest = moment == recording ? 1000 : moment == stopped ? 300 : 30;
        const int pause = std::uniform_int_distribution(0, longest)(random);
        QElapsedTimer passed;
        passed.start();
        host::ScreenDriver::wait([&] { return passed.elapsed() >= pause; });
        if (isKilled) {
            program.kill();
        } else {
            EXPECT_TRUE(program.close());
        }

        // What a next start offers, and what the user finds among the recordings.
        const auto offered = media::MovieFolder(growing.path().toStdString()).untaken();
        std::vector<std::string> found(offered);
        for (const QString& path : find(movies, "*")) found.push_back(path.toStdString());
        EXPECT_GE(found.size(), 1U) << "lost";
        lost += found.empty();
        for (const std::string& path : found) {
            const MovieFacts facts = factsOf(path);
            EXPECT_EQ(facts.complaints, "") << path;
            EXPECT_FALSE(facts.pictureTimes.empty()) << path;
        }
        for (const std::string& path : offered) {
            const std::string target = home.filePath(QStringLiteral("offered.mp4")).toStdString();
            ASSERT_EQ(media::MovieFolder::finish(path, URL::fileURL(target), false), recording::Error());
            EXPECT_TRUE(factsOf(target).indexComesFirst);
        }
        EXPECT_EQ(find(growing, "*"), QStringList()) << "nothing is left lying about";
        ++places[isSaved() ? "saved" : offered[0].ends_with(".growing.mp4") ? "interrupted" : "finished, not taken"];
    }
    std::printf("%d stories, %d lost;", stories, lost);
    for (const auto& [place, count] : places) std::printf(" %s: %d", qPrintable(place), count);
    std::printf("\n");
}

}  // namespace
}  // namespace videoanalysis
