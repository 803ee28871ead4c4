// Connecting outlets and actions by name.

#include "VideoAnalysis/Platform/UI/Outlets.h"

#include <gtest/gtest.h>

#include <map>

namespace videoanalysis::ui {
namespace {

/// A layout with the given views.
class Layout : public Outlets {
public:
    std::multimap<std::string, std::shared_ptr<View>, std::less<>> views;
    std::vector<std::string> actions;
    std::vector<std::string> bound;

protected:
    void bind(std::string_view selector, Control::Action) override { bound.emplace_back(selector); }
    std::vector<std::string> selectors() const override { return actions; }
    std::shared_ptr<View> find(std::string_view name, const Make&) override {
        const auto found = views.find(name);
        return found == views.end() ? nullptr : found->second;
    }
    std::vector<std::shared_ptr<View>> findAll(std::string_view name, const Make&) override {
        std::vector<std::shared_ptr<View>> found;
        const auto [first, last] = views.equal_range(name);
        for (auto i = first; i != last; ++i) found.push_back(i->second);
        return found;
    }
};

struct Panel {
    OutletSet outlets;
    Outlet<Button> playButton{outlets, "playButton"};
    Outlet<Label> title{outlets, "title"};
    OutletCollection<Button> rates{outlets, "rates"};
};

TEST(OutletsTest, ConnectsDeclaredOutletsByName) {
    Layout layout;
    const auto play = std::make_shared<Button>();
    const auto title = std::make_shared<Label>();
    const auto slow = std::make_shared<Button>();
    const auto fast = std::make_shared<Button>();
    layout.views = {{"playButton", play}, {"title", title}, {"rates", slow}, {"rates", fast}};
    Panel panel;
    panel.outlets.connect(layout);
    EXPECT_EQ(panel.playButton.lock(), play);
    EXPECT_EQ(panel.title.required(), title);
    EXPECT_EQ(panel.rates.required(), (std::vector{slow, fast}));
    int buttons = 0;
    panel.outlets.forEach<Button>([&](Button&) { ++buttons; });
    EXPECT_EQ(buttons, 3);
}

TEST(OutletsTest, MissingOutletIsFatal) {
    Layout layout;
    auto play = std::make_shared<Button>();
    layout.views = {{"playButton", play}};
    Panel panel;
    EXPECT_DEATH(panel.outlets.connect(layout), "Missing outlet: title");
    layout.views = {{"playButton", std::make_shared<Label>()}};
    EXPECT_DEATH(panel.outlets.connect(layout), "Outlet of another kind: playButton");
    panel.playButton = play;
    layout.views.clear();
    play.reset();
    EXPECT_EQ(panel.playButton.lock(), nullptr);
    EXPECT_DEATH((void)panel.playButton.required(), "Missing outlet: playButton");
}

TEST(OutletsTest, UnknownActionIsFatal) {
    struct Owner {
        void connectOutlets(Outlets& layout) { layout.action("save:", {}); }
    } owner;
    Layout layout;
    layout.actions = {"save:", "save:"};
    layout.load(owner);
    EXPECT_EQ(layout.bound, std::vector<std::string>{"save:"});
    layout.actions.push_back("sabe:");
    EXPECT_DEATH(layout.load(owner), "Missing action: sabe:");
}

}  // namespace
}  // namespace videoanalysis::ui
