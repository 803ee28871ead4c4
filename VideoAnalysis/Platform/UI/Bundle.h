#pragma once
// The component's resources as a platform supplies them: storyboards that make controllers with their views, cell templates,
// and the outlets through which a controller or a cell gets hold of its views by name.

#include "VideoAnalysis/Platform/FatalError.h"
#include "VideoAnalysis/Platform/UI/Control.h"
#include "VideoAnalysis/Platform/UI/View.h"

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace videoanalysis::ui {

class CollectionViewCell;
class ViewController;

/// The named views of one loaded scene or template. A controller's or cell's `connectOutlets` asks for each of its views by
/// name and offers its actions by name; the platform answers from its layout.
class Outlets {
public:
    virtual ~Outlets() = default;

    /// Sets `outlet` to the view called `name`; fatal, with the name, when there is none or it is of another kind.
    template <class T>
    void connect(std::string_view name, std::weak_ptr<T>& outlet) {
        outlet = checked<T>(name, find(name, [] { return std::make_shared<T>(); }));
    }
    /// All views called `name`, in the layout's order; may be none.
    template <class T>
    void connect(std::string_view name, std::vector<std::weak_ptr<T>>& collection) {
        collection.clear();
        for (const std::shared_ptr<View>& view : findAll(name, [] { return std::make_shared<T>(); })) {
            collection.push_back(checked<T>(name, view));
        }
    }
    /// Controls that name `selector` as their action call `action` on touch-up (sliders: on every change of value).
    virtual void action(std::string_view selector, Control::Action action) = 0;

protected:
    using Make = std::function<std::shared_ptr<View>()>;
    /// Null when there is none. A platform without layouts makes a view of the asked kind with `make`.
    virtual std::shared_ptr<View> find(std::string_view name, const Make& make) = 0;
    virtual std::vector<std::shared_ptr<View>> findAll(std::string_view name, const Make& make) = 0;

private:
    template <class T>
    static std::shared_ptr<T> checked(std::string_view name, const std::shared_ptr<View>& view) {
        std::shared_ptr<T> typed = std::dynamic_pointer_cast<T>(view);
        if (!typed) fatalError(std::string(view ? "Outlet of another kind: " : "Missing outlet: ").append(name));
        return typed;
    }
};

/// Reads an outlet that must be there; fatal when its view is gone.
template <class T>
std::shared_ptr<T> required(const std::weak_ptr<T>& outlet, std::string_view name) {
    std::shared_ptr<T> view = outlet.lock();
    if (!view) fatalError(std::string("Missing outlet: ").append(name));
    return view;
}

class Storyboard {
public:
    virtual ~Storyboard() = default;
    /// A new controller with its views made and its outlets connected; null when the storyboard has none.
    virtual std::shared_ptr<ViewController> instantiateInitialViewController() = 0;
    /// The same for the controller called `identifier`; null when there is none.
    virtual std::shared_ptr<ViewController> instantiateViewController(std::string_view identifier) = 0;
};

class CellTemplate {
public:
    virtual ~CellTemplate() = default;
    /// A new cell, its outlets connected and `awakeFromNib` called.
    virtual std::shared_ptr<CollectionViewCell> instantiate() = 0;
};

class Bundle {
public:
    virtual ~Bundle() = default;
    /// Null when there is no storyboard of that name.
    virtual std::shared_ptr<Storyboard> storyboard(std::string_view name) = 0;
    /// Null when there is no template of that name.
    virtual std::shared_ptr<CellTemplate> cellTemplate(std::string_view name) = 0;
};

}  // namespace videoanalysis::ui
