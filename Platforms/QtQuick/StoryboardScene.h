#pragma once
// The elements of a storyboard file: `Storyboard` holds `Scene`s, each a controller's name with the layout of its
// views.

#include <QObject>
#include <QQmlComponent>
#include <QQmlListProperty>

namespace videoanalysis::qt {

/// "Scene" in QML: `Scene { identifier: "OverlayViewController"; View { ... } }`.
class StoryboardScene : public QObject {
    Q_OBJECT
    /// The controller's name, which chooses its type as well.
    Q_PROPERTY(QString identifier MEMBER identifier)
    /// The storyboard's first scene.
    Q_PROPERTY(bool initial MEMBER isInitial)
    Q_PROPERTY(QQmlComponent* content MEMBER content)
    Q_CLASSINFO("DefaultProperty", "content")

public:
    QString identifier;
    bool isInitial = false;
    QQmlComponent* content = nullptr;
};

/// "Storyboard" in QML.
class StoryboardDocument : public QObject {
    Q_OBJECT
    Q_PROPERTY(QQmlListProperty<videoanalysis::qt::StoryboardScene> scenes READ sceneList CONSTANT)
    Q_CLASSINFO("DefaultProperty", "scenes")

public:
    QList<StoryboardScene*> scenes;

private:
    QQmlListProperty<StoryboardScene> sceneList() { return {this, &scenes}; }
};

}  // namespace videoanalysis::qt
