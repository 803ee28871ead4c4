#pragma once
// The component's storyboard and cell templates without a layout: every outlet is a plain view, made when a controller or a
// cell asks for it; a test sets its frame.

#include "VideoAnalysis/Platform/UI/Bundle.h"

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace videoanalysis {

/// Makes the views that are asked for, below `root`, and keeps the offered actions for a test to call.
class HeadlessOutlets final : public ui::Outlets {
public:
    explicit HeadlessOutlets(std::shared_ptr<ui::View> root) : root_(std::move(root)) {}

    /// How many views a collection of outlets called `name` holds; one otherwise.
    std::map<std::string, std::size_t, std::less<>> collectionSizes;

    const std::map<std::string, ui::Control::Action, std::less<>>& actions() const { return actions_; }
    /// The views made so far for the outlet called `name`, in their order.
    std::vector<std::shared_ptr<ui::View>> viewsNamed(std::string_view name) const;

protected:
    std::shared_ptr<ui::View> find(std::string_view name, const Make& make) override;
    std::vector<std::shared_ptr<ui::View>> findAll(std::string_view name, const Make& make) override;
    void bind(std::string_view selector, ui::Control::Action action) override;
    /// Without a layout there are none.
    std::vector<std::string> selectors() const override { return {}; }

private:
    std::shared_ptr<ui::View> root_;
    std::map<std::string, ui::Control::Action, std::less<>> actions_;
    std::map<std::string, std::vector<std::shared_ptr<ui::View>>, std::less<>> views_;
};

class HeadlessBundle final : public ui::Bundle {
public:
    /// What is missing from the bundle, for tests: names of storyboards, controllers and templates.
    std::vector<std::string> missing;

    std::shared_ptr<ui::Storyboard> storyboard(std::string_view name) override;
    std::shared_ptr<ui::CellTemplate> cellTemplate(std::string_view name) override;
};

}  // namespace videoanalysis
