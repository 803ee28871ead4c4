#include "Host/StatisticsOverlay.h"

#include "Platforms/FFmpeg/CacheStatistics.h"
#include "Platforms/QtQuick/RecordingOptions.h"
#include "VideoAnalysis/Platform/Movie.h"

#include <QStringList>

#include <array>
#include <chrono>
#include <cstddef>
#include <tuple>
#include <utility>

namespace videoanalysis::host {
namespace {

constexpr std::chrono::milliseconds interval(500);
constexpr double mebibyte = 1024.0 * 1024.0;

QString number(double value, int decimals) { return QString::number(value, 'f', decimals); }

QString describeCache(const media::CacheStatistics& cache) {
    const std::int64_t requests = cache.hits + cache.misses;
    const double hitRate = requests > 0 ? 100.0 * static_cast<double>(cache.hits) / static_cast<double>(requests) : 0;
    return QStringLiteral("cache    %1 of %2 MiB · clips %3 · frames %4 · hits %5 % of %6 · evicted %7")
        .arg(number(static_cast<double>(cache.bytes) / mebibyte, 0),
             number(static_cast<double>(cache.budget) / mebibyte, 0))
        .arg(cache.clips)
        .arg(cache.frames)
        .arg(number(hitRate, 1))
        .arg(requests)
        .arg(cache.evictions);
}

QString describeMovie(const recording::MovieStatistics& movie) {
    const QString counts = QStringLiteral("encoder  pictures %1 · repeated %2 · dropped %3")
                               .arg(movie.taken)
                               .arg(movie.repeated)
                               .arg(movie.dropped);
    return movie.failure.empty() ? counts : counts + QStringLiteral(" · ") + QString::fromStdString(movie.failure);
}

QString describeCapture(const CaptureStatistics& capture) {
    constexpr std::array<const char*, 5> bins{"<0.5", "<1", "<2", "<4", ">=4"};
    static_assert(std::tuple_size_v<decltype(CaptureStatistics::histogram)> == bins.size());
    QString text = QStringLiteral("capture  pictures %1 · max %2 ms, computed %3 ms · ms")
                       .arg(capture.count)
                       .arg(number(capture.max, 1), number(capture.maxComputed, 1));
    for (std::size_t bin = 0; bin < bins.size(); ++bin) {
        text += QStringLiteral(" %1: %2").arg(QLatin1String(bins[bin])).arg(capture.histogram[bin]);
    }
    return text;
}

}  // namespace

StatisticsOverlay::StatisticsOverlay(std::function<QString()> read) : read_(std::move(read)) {
    timer_.setInterval(interval);
    timer_.callOnTimeout(this, &StatisticsOverlay::update);
}

void StatisticsOverlay::toggle() {
    if (timer_.isActive())
        timer_.stop();
    else
        timer_.start();
    update();
    Q_EMIT shownChanged();
}

void StatisticsOverlay::update() {
    QString text = isShown() ? read_() : QString();
    if (text == text_) return;
    text_ = std::move(text);
    Q_EMIT textChanged();
}

QString StatisticsOverlay::describe(const media::CacheStatistics& cache, const recording::MovieStatistics& movie,
                                    const CaptureStatistics& capture) {
    return QStringList{describeCache(cache), describeMovie(movie), describeCapture(capture)}.join(QLatin1Char('\n'));
}

}  // namespace videoanalysis::host
