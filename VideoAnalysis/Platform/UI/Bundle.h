#pragma once
// The component's resources as a platform supplies them: storyboards that make controllers with their views, and cell
// templates.

#include "VideoAnalysis/Platform/UI/Outlets.h"

#include <memory>
#include <string_view>

namespace videoanalysis::ui {

class CollectionViewCell;
class ViewController;

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
