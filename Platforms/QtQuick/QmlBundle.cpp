#include "Platforms/QtQuick/QmlBundle.h"

#include "Platforms/QtQuick/AspectNames.h"
#include "Platforms/QtQuick/ButtonItem.h"
#include "Platforms/QtQuick/CellItems.h"
#include "Platforms/QtQuick/CheckboxItem.h"
#include "Platforms/QtQuick/CollectionViewItem.h"
#include "Platforms/QtQuick/ColorPickerItem.h"
#include "Platforms/QtQuick/CropViewItem.h"
#include "Platforms/QtQuick/GesturedScrollViewItem.h"
#include "Platforms/QtQuick/IconItem.h"
#include "Platforms/QtQuick/ImageViewItem.h"
#include "Platforms/QtQuick/LabelItem.h"
#include "Platforms/QtQuick/RangeSliderItem.h"
#include "Platforms/QtQuick/ScreenTheme.h"
#include "Platforms/QtQuick/SketchViewItem.h"
#include "Platforms/QtQuick/SliderItem.h"
#include "Platforms/QtQuick/StackViewItem.h"
#include "Platforms/QtQuick/StoryboardScene.h"
#include "Platforms/QtQuick/TimelineViewItem.h"
#include "Platforms/QtQuick/ToolNames.h"
#include "Platforms/QtQuick/TrimmerProgressItem.h"
#include "Platforms/QtQuick/TrimmerViewItem.h"
#include "Platforms/QtQuick/VideoViewItem.h"
#include "VideoAnalysis/Platform/UI/ViewController.h"
#include "VideoAnalysis/Views.h"

#include <QCoreApplication>
#include <QEvent>
#include <QFile>
#include <QQmlComponent>

#include <algorithm>
#include <iterator>
#include <map>
#include <utility>

namespace videoanalysis::qt {
namespace {

void registerTypes() {
    static const bool once = [] {
        constexpr const char* uri = "VideoAnalysis";
        qmlRegisterType<ViewItem>(uri, 1, 0, "View");
        qmlRegisterType<ButtonItem>(uri, 1, 0, "Button");
        qmlRegisterType<SliderItem>(uri, 1, 0, "Slider");
        qmlRegisterType<LabelItem>(uri, 1, 0, "Label");
        qmlRegisterType<ImageViewItem>(uri, 1, 0, "ImageView");
        qmlRegisterType<StackViewItem>(uri, 1, 0, "StackView");
        qmlRegisterType<CollectionViewItem>(uri, 1, 0, "CollectionView");
        qmlRegisterType<ColorPickerItem>(uri, 1, 0, "ColorPickerView");
        qmlRegisterType<GesturedScrollViewItem>(uri, 1, 0, "GesturedScrollView");
        qmlRegisterType<VideoViewItem>(uri, 1, 0, "VideoView");
        qmlRegisterType<SketchViewItem>(uri, 1, 0, "SketchView");
        qmlRegisterType<PlayerCellItem>(uri, 1, 0, "PlayerCell");
        qmlRegisterType<OverlayCellItem>(uri, 1, 0, "OverlayCell");
        qmlRegisterType<HUDViewItem>(uri, 1, 0, "HUDView");
        qmlRegisterType<TimelineViewItem>(uri, 1, 0, "Timeline");
        qmlRegisterType<TrimmerViewItem>(uri, 1, 0, "TrimmerView");
        qmlRegisterType<CropViewItem>(uri, 1, 0, "CropView");
        qmlRegisterType<TrimmerProgressItem>(uri, 1, 0, "SaveProgress");
        qmlRegisterType<RangeSliderItem>(uri, 1, 0, "RangeSlider");
        qmlRegisterType<CheckboxItem>(uri, 1, 0, "Checkbox");
        qmlRegisterType<IconItem>(uri, 1, 0, "Icon");
        qmlRegisterUncreatableMetaObject(tool_names::staticMetaObject, uri, 1, 0, "Tool",
                                         QStringLiteral("Tool is a list of names"));
        qmlRegisterUncreatableMetaObject(aspect_names::staticMetaObject, uri, 1, 0, "Aspect",
                                         QStringLiteral("Aspect is a list of names"));
        qmlRegisterType<StoryboardScene>(uri, 1, 0, "Scene");
        qmlRegisterType<StoryboardDocument>(uri, 1, 0, "Storyboard");
        qmlRegisterSingletonType<ScreenTheme>(uri, 1, 0, "Theme",
                                              [](QQmlEngine*, QJSEngine*) -> QObject* { return new ScreenTheme; });
        return true;
    }();
    Q_UNUSED(once)
}

/// Keeps a scene's items for as long as its root view lives.
class ScenePeer : public ui::Peer {
public:
    explicit ScenePeer(ViewItem* root) : root_(root) {}
    ~ScenePeer() override {
        if (!root_) return;
        // The view may be going away because of what one of these items is telling it.
        root_->detach();
        root_->setParentItem(nullptr);
        root_->deleteLater();
    }

private:
    QPointer<ViewItem> root_;
};

/// The items of a scene by the names in their layout.
class SceneOutlets : public ui::Outlets {
public:
    explicit SceneOutlets(ViewItem& root) { collect(root, *root.view()); }

protected:
    std::shared_ptr<ui::View> find(std::string_view name, const Make& make) override {
        const auto found = findAll(name, make);
        return found.empty() ? nullptr : found.front();
    }

    std::vector<std::shared_ptr<ui::View>> findAll(std::string_view name, const Make&) override {
        std::vector<std::shared_ptr<ui::View>> found;
        for (ViewItem* item : items_) {
            if (item->isOutlet(QString::fromUtf8(name.data(), std::ssize(name)))) {
                found.push_back(item->view()->shared_from_this());
            }
        }
        return found;
    }

    void bind(std::string_view selector, ui::Control::Action action) override {
        for (ViewItem* item : items_) {
            auto* control = qobject_cast<ControlItem*>(item);
            if (control && control->selector() == QString::fromUtf8(selector.data(), std::ssize(selector))) {
                control->control()->addAction(control->actionEvent(), action);
            }
        }
    }

    std::vector<std::string> selectors() const override {
        std::vector<std::string> selectors;
        for (ViewItem* item : items_) {
            const auto* control = qobject_cast<ControlItem*>(item);
            if (control && !control->selector().isEmpty()) selectors.push_back(control->selector().toStdString());
        }
        return selectors;
    }

private:
    /// Makes the tree of the views like that of the items.
    void collect(QQuickItem& item, ui::View& above) {
        auto* viewItem = qobject_cast<ViewItem*>(&item);
        if (viewItem) items_.push_back(viewItem);
        if (viewItem && viewItem->view() != &above) above.addSubview(viewItem->view()->shared_from_this());
        for (QQuickItem* child : item.childItems()) collect(*child, viewItem ? *viewItem->view() : above);
    }

    std::vector<ViewItem*> items_;
};

}  // namespace

/// One QML file of the resources, loaded once.
class QmlBundle::File {
public:
    File(QQmlEngine& engine, const QString& resource, std::shared_ptr<Roots> roots)
        : component_(std::make_unique<QQmlComponent>(&engine, QUrl(QStringLiteral("qrc") + resource))),
          roots_(std::move(roots)) {
        check(*component_);
    }

    /// Nothing can be made after this.
    void close() {
        document_.reset();
        component_.reset();
    }

    /// The file's own root object, made once: the scenes inside live in its context. Null after `close`.
    StoryboardDocument* document() {
        if (!document_ && component_) {
            document_.reset(component_->create());
            check(*component_);
        }
        return qobject_cast<StoryboardDocument*>(document_.get());
    }

    /// The root item of a new scene. Its view, in `view`, keeps the items.
    ViewItem& makeScene(QQmlComponent& component, std::shared_ptr<ui::View>& view) {
        auto* root = qobject_cast<ViewItem*>(component.create());
        check(component);
        if (!root) fatalError("The root of a scene must be a view: " + component.url().toString().toStdString());
        QQmlEngine::setObjectOwnership(root, QQmlEngine::CppOwnership);
        std::erase_if(*roots_, [](const auto& other) { return !other; });
        roots_->push_back(root);
        view = root->releaseView();
        view->setPeer(std::make_shared<ScenePeer>(root));
        return *root;
    }

    /// Null after `close`.
    QQmlComponent* component() const { return component_.get(); }

private:
    static void check(const QQmlComponent& component) {
        if (component.isError()) fatalError(component.errorString().trimmed().toStdString());
    }

    std::unique_ptr<QQmlComponent> component_;
    std::unique_ptr<QObject> document_;
    std::shared_ptr<Roots> roots_;
};

/// A translation that the host installs or removes takes effect on what is shown.
class QmlBundle::Retranslator : public QObject {
public:
    explicit Retranslator(QQmlEngine& engine) : engine_(&engine) {
        QCoreApplication::instance()->installEventFilter(this);
    }

protected:
    bool eventFilter(QObject* receiver, QEvent* event) override {
        const bool isLanguage = event->type() == QEvent::LanguageChange && receiver == QCoreApplication::instance();
        if (isLanguage && engine_) engine_->retranslate();
        return false;
    }

private:
    const QPointer<QQmlEngine> engine_;
};

class QmlBundle::QmlStoryboard : public ui::Storyboard {
public:
    explicit QmlStoryboard(std::shared_ptr<File> file) : file_(std::move(file)) {}

    std::shared_ptr<ui::ViewController> instantiateInitialViewController() override {
        return instantiate([](const StoryboardScene& scene) { return scene.isInitial; });
    }
    std::shared_ptr<ui::ViewController> instantiateViewController(std::string_view identifier) override {
        const QString wanted = QString::fromUtf8(identifier.data(), std::ssize(identifier));
        return instantiate([&](const StoryboardScene& scene) { return scene.identifier == wanted; });
    }

private:
    template <class IsWanted>
    std::shared_ptr<ui::ViewController> instantiate(IsWanted isWanted) {
        const StoryboardDocument* document = file_->document();
        if (!document) return nullptr;
        const auto scene = std::find_if(document->scenes.begin(), document->scenes.end(),
                                        [&](const StoryboardScene* candidate) { return isWanted(*candidate); });
        if (scene == document->scenes.end()) return nullptr;
        const std::string identifier = (*scene)->identifier.toStdString();
        std::shared_ptr<ui::ViewController> controller = makeViewController(identifier);
        if (!controller) fatalError("No such controller: " + identifier);
        std::shared_ptr<ui::View> view;
        SceneOutlets outlets(file_->makeScene(*(*scene)->content, view));
        controller->setView(std::move(view));
        outlets.load(*controller);
        return controller;
    }

    std::shared_ptr<File> file_;
};

class QmlBundle::QmlCellTemplate : public ui::CellTemplate {
public:
    explicit QmlCellTemplate(std::shared_ptr<File> file) : file_(std::move(file)) {}

    std::shared_ptr<ui::CollectionViewCell> instantiate() override {
        if (!file_->component()) return std::make_shared<ui::CollectionViewCell>();
        std::shared_ptr<ui::View> view;
        ViewItem& root = file_->makeScene(*file_->component(), view);
        auto cell = std::dynamic_pointer_cast<ui::CollectionViewCell>(view);
        if (!cell) fatalError("The root of a cell template must be a cell");
        root.setPlacedByView();
        SceneOutlets outlets(root);
        outlets.load(*cell);
        cell->awakeFromNib();
        return cell;
    }

private:
    std::shared_ptr<File> file_;
};

QmlBundle::QmlBundle(QQmlEngine& engine)
    : engine_(&engine), retranslator_(std::make_unique<Retranslator>(engine)), roots_(std::make_shared<Roots>()) {
    registerTypes();
}

QmlBundle::~QmlBundle() { close(); }

std::shared_ptr<QmlBundle::File> QmlBundle::file(std::string_view name) {
    const QString resource =
        QStringLiteral(":/VideoAnalysis/%1.qml").arg(QString::fromUtf8(name.data(), std::ssize(name)));
    if (!engine_ || !QFile::exists(resource)) return nullptr;
    std::shared_ptr<File>& file = files_[std::string(name)];
    if (!file) file = std::make_shared<File>(*engine_, resource, roots_);
    return file;
}

std::shared_ptr<ui::Storyboard> QmlBundle::storyboard(std::string_view name) {
    const std::shared_ptr<File> found = file(name);
    return found && found->document() ? std::make_shared<QmlStoryboard>(found) : nullptr;
}

std::shared_ptr<ui::CellTemplate> QmlBundle::cellTemplate(std::string_view name) {
    const std::shared_ptr<File> found = file(name);
    return found ? std::make_shared<QmlCellTemplate>(found) : nullptr;
}

void QmlBundle::close() {
    engine_.clear();
    retranslator_.reset();
    for (const QPointer<ViewItem>& root : std::exchange(*roots_, {})) delete root.data();
    for (const auto& [name, file] : std::exchange(files_, {})) file->close();
}

}  // namespace videoanalysis::qt
