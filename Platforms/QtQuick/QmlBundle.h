#pragma once
// The component's resources as QML files: it makes a controller or a cell from its file, with the views that stand in
// it as outlets. `QtQuickPlatform` owns it.

#include "VideoAnalysis/Platform/UI/Bundle.h"

#include <QPointer>
#include <QQmlEngine>
#include <QString>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace videoanalysis::qt {

class ViewItem;

/// Main thread. Files that cannot be loaded are fatal and say why; ones that do not exist are answered with null.
class QmlBundle : public ui::Bundle {
public:
    explicit QmlBundle(QQmlEngine& engine);
    ~QmlBundle() override;

    std::shared_ptr<ui::Storyboard> storyboard(std::string_view name) override;
    std::shared_ptr<ui::CellTemplate> cellTemplate(std::string_view name) override;

    /// Deletes every item that was made; the views stay, unseen. Nothing more can be loaded.
    void close();

private:
    /// The root items that exist, and some that no longer do.
    using Roots = std::vector<QPointer<ViewItem>>;
    class File;
    class Retranslator;
    class QmlStoryboard;
    class QmlCellTemplate;

    std::shared_ptr<File> file(std::string_view name);

    QPointer<QQmlEngine> engine_;
    std::unique_ptr<Retranslator> retranslator_;
    std::shared_ptr<Roots> roots_;
    std::map<std::string, std::shared_ptr<File>> files_;
};

}  // namespace videoanalysis::qt
