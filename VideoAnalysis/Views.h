#pragma once
// What a screen draws: every view of the component that a layout can name, the controllers that a storyboard makes by name, and
// the colours in use. A screen platform includes this and `VideoAnalysis/Platform/`, nothing else of the component.

#include "VideoAnalysis/Controls/Checkbox.h"
#include "VideoAnalysis/Controls/ColorPickerView.h"
#include "VideoAnalysis/Controls/RangeSlider.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCell.h"
#include "VideoAnalysis/Player/PlayerCollectionViewCellHUDView.h"
#include "VideoAnalysis/Screen/CollectionViewFlowLayout.h"
#include "VideoAnalysis/Screen/ControllerFactory.h"
#include "VideoAnalysis/Screen/ScreenColors.h"
#include "VideoAnalysis/Sketch/SketchToolType.h"
#include "VideoAnalysis/Sketch/SketchView.h"
#include "VideoAnalysis/Timeline/TimelineView.h"
#include "VideoAnalysis/Trimming/CropView.h"
#include "VideoAnalysis/Trimming/SaveProgressView.h"
#include "VideoAnalysis/Trimming/TrimmerView.h"
#include "VideoAnalysis/Video/GesturedScrollView.h"
#include "VideoAnalysis/Video/VideoView.h"
