#pragma once
// Figures for a developer over the picture: the cache of decoded frames, the recording and what capturing the window costs.
// F12 shows and hides it; VIDEOANALYSIS_OVERLAY=1 shows it from the start.

#include <QObject>
#include <QString>
#include <QTimer>

#include <functional>

namespace videoanalysis {

namespace media {
struct CacheStatistics;
}
namespace recording {
struct MovieStatistics;
}
struct CaptureStatistics;

namespace host {

/// Main thread only. Reads the figures twice a second while it is shown and does nothing while it is hidden.
class StatisticsOverlay : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool shown READ isShown NOTIFY shownChanged)
    /// One line per subject; empty while hidden.
    Q_PROPERTY(QString text READ text NOTIFY textChanged)

public:
    /// `read` returns the lines to show; it must stay callable as long as the overlay lives.
    explicit StatisticsOverlay(std::function<QString()> read);

    bool isShown() const { return timer_.isActive(); }
    QString text() const { return text_; }
    Q_INVOKABLE void toggle();

    /// The lines for the given figures. Any thread.
    static QString describe(const media::CacheStatistics& cache, const recording::MovieStatistics& movie,
                            const CaptureStatistics& capture);

Q_SIGNALS:
    void shownChanged();
    void textChanged();

private:
    void update();

    std::function<QString()> read_;
    QTimer timer_;
    QString text_;
};

}  // namespace host
}  // namespace videoanalysis
