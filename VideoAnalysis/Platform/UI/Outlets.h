#pragma once
// How a controller, a cell or a control panel gets hold of the views of its layout: it declares an `Outlet` for each one that
// it needs, and the platform connects them by name when it loads the layout.
//
//     class Panel : public ui::View {
//     public:
//         ui::OutletSet outlets;
//         ui::Outlet<ui::Button> playButton{outlets, "playButton"};
//     };

#include "VideoAnalysis/Platform/FatalError.h"
#include "VideoAnalysis/Platform/UI/Control.h"
#include "VideoAnalysis/Platform/UI/View.h"

#include <functional>
#include <memory>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace videoanalysis::ui {

/// The named views of one loaded scene or template; implemented by a platform. Main thread only.
class Outlets {
public:
    virtual ~Outlets() = default;

    /// The view called `name`; fatal, with the name, when there is none or it is of another kind.
    template <class T>
    std::shared_ptr<T> view(std::string_view name) {
        return checked<T>(name, find(name, [] { return std::make_shared<T>(); }));
    }
    /// All views called `name`, in the layout's order; may be none. Fatal when one is of another kind.
    template <class T>
    std::vector<std::weak_ptr<T>> views(std::string_view name) {
        std::vector<std::weak_ptr<T>> views;
        for (const std::shared_ptr<View>& view : findAll(name, [] { return std::make_shared<T>(); })) {
            views.push_back(checked<T>(name, view));
        }
        return views;
    }
    /// Controls that name `selector` as their action call `action` on touch-up (sliders: on every change of value).
    void action(std::string_view selector, Control::Action action) {
        offered_.emplace(selector);
        bind(selector, std::move(action));
    }

    /// For a platform: lets `owner`, a controller or a cell, connect its outlets and offer its actions. Fatal, with the name,
    /// when the layout names an action that `owner` does not offer.
    template <class Owner>
    void load(Owner& owner) {
        owner.connectOutlets(*this);
        for (const std::string& selector : selectors()) {
            if (!offered_.contains(selector)) fatalError("Missing action: " + selector);
        }
    }

protected:
    using Make = std::function<std::shared_ptr<View>()>;
    /// Null when there is none. A platform without layouts makes a view of the asked kind with `make`.
    virtual std::shared_ptr<View> find(std::string_view name, const Make& make) = 0;
    virtual std::vector<std::shared_ptr<View>> findAll(std::string_view name, const Make& make) = 0;
    virtual void bind(std::string_view selector, Control::Action action) = 0;
    /// The actions that the layout's controls name.
    virtual std::vector<std::string> selectors() const = 0;

private:
    template <class T>
    static std::shared_ptr<T> checked(std::string_view name, const std::shared_ptr<View>& view) {
        std::shared_ptr<T> typed = std::dynamic_pointer_cast<T>(view);
        if (!typed) fatalError(std::string(view ? "Outlet of another kind: " : "Missing outlet: ").append(name));
        return typed;
    }

    std::set<std::string, std::less<>> offered_;
};

class AnyOutlet;

/// All outlets of one owner. Declared before them.
class OutletSet {
public:
    OutletSet() = default;
    OutletSet(const OutletSet&) = delete;
    OutletSet& operator=(const OutletSet&) = delete;

    /// Connects every outlet to its view in `layout`; fatal when one is missing.
    void connect(Outlets& layout);
    /// Calls `work` for each connected view that is a `T`.
    template <class T, class Work>
    void forEach(Work&& work) const;

private:
    friend class AnyOutlet;
    std::vector<AnyOutlet*> outlets_;
};

/// What outlets of all kinds have in common.
class AnyOutlet {
public:
    virtual ~AnyOutlet() = default;
    AnyOutlet(const AnyOutlet&) = delete;
    AnyOutlet& operator=(const AnyOutlet&) = delete;

    /// As the layout has it.
    const std::string& name() const { return name_; }

protected:
    AnyOutlet(OutletSet& owner, std::string name) : name_(std::move(name)) { owner.outlets_.push_back(this); }

private:
    friend class OutletSet;
    virtual void connect(Outlets& layout) = 0;
    /// The connected views that still exist.
    virtual std::vector<std::shared_ptr<View>> views() const = 0;

    const std::string name_;
};

/// One view of the layout, held weakly.
template <class T>
class Outlet final : public AnyOutlet {
public:
    Outlet(OutletSet& owner, std::string name) : AnyOutlet(owner, std::move(name)) {}

    /// Null before the layout is loaded, and when the view is gone.
    std::shared_ptr<T> lock() const { return view_.lock(); }
    /// The view; fatal, with the outlet's name, when it is gone.
    std::shared_ptr<T> required() const {
        std::shared_ptr<T> view = view_.lock();
        if (!view) fatalError("Missing outlet: " + name());
        return view;
    }
    std::shared_ptr<T> operator->() const { return required(); }
    operator std::weak_ptr<T>() const { return view_; }  // NOLINT(google-explicit-constructor)
    /// For a test that takes a view away, or supplies one itself.
    Outlet& operator=(std::weak_ptr<T> view) {
        view_ = std::move(view);
        return *this;
    }

private:
    void connect(Outlets& layout) override { view_ = layout.view<T>(name()); }
    std::vector<std::shared_ptr<View>> views() const override {
        std::vector<std::shared_ptr<View>> views;
        if (std::shared_ptr<T> view = view_.lock()) views.push_back(std::move(view));
        return views;
    }

    std::weak_ptr<T> view_;
};

/// All views of the layout that have the same name, in its order, held weakly.
template <class T>
class OutletCollection final : public AnyOutlet {
public:
    OutletCollection(OutletSet& owner, std::string name) : AnyOutlet(owner, std::move(name)) {}

    std::size_t size() const { return views_.size(); }
    bool empty() const { return views_.empty(); }
    auto begin() const { return views_.begin(); }
    auto end() const { return views_.end(); }
    const std::weak_ptr<T>& operator[](std::size_t position) const { return views_.at(position); }
    /// All of them; fatal, with the outlet's name, when one is gone.
    std::vector<std::shared_ptr<T>> required() const {
        std::vector<std::shared_ptr<T>> views;
        for (const std::weak_ptr<T>& entry : views_) {
            views.push_back(entry.lock());
            if (!views.back()) fatalError("Missing outlet: " + name());
        }
        return views;
    }
    OutletCollection& operator=(std::vector<std::weak_ptr<T>> views) {
        views_ = std::move(views);
        return *this;
    }

private:
    void connect(Outlets& layout) override { views_ = layout.views<T>(name()); }
    std::vector<std::shared_ptr<View>> views() const override {
        std::vector<std::shared_ptr<View>> views;
        for (const std::weak_ptr<T>& entry : views_) {
            if (std::shared_ptr<T> view = entry.lock()) views.push_back(std::move(view));
        }
        return views;
    }

    std::vector<std::weak_ptr<T>> views_;
};

inline void OutletSet::connect(Outlets& layout) {
    for (AnyOutlet* outlet : outlets_) outlet->connect(layout);
}

template <class T, class Work>
void OutletSet::forEach(Work&& work) const {
    for (const AnyOutlet* outlet : outlets_) {
        for (const std::shared_ptr<View>& view : outlet->views()) {
            if (const auto typed = std::dynamic_pointer_cast<T>(view)) work(*typed);
        }
    }
}

}  // namespace videoanalysis::ui
