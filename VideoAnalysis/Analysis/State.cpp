#include "VideoAnalysis/Analysis/State.h"

#include "VideoAnalysis/Platform/Platform.h"
#include "VideoAnalysis/Platform/Recording.h"

namespace videoanalysis {

ToolColorMap ToolColorMap::standard() {
    ToolColorMap map;
    map.set(SketchToolType::arrow, Color::rgb255(255, 23, 68));
    map.set(SketchToolType::line, Color::rgb255(0, 230, 118));
    map.set(SketchToolType::pen, Color::rgb255(0, 229, 255));
    map.set(SketchToolType::ellipseStroke, Color::rgb255(255, 234, 0));
    map.set(SketchToolType::ellipseFill, Color::rgb255(255, 234, 0));
    map.set(SketchToolType::rectangleStroke, Color::rgb255(0, 176, 255));
    map.set(SketchToolType::rectangleFill, Color::rgb255(0, 176, 255));
    return map;
}

MainViewControllerState::MainViewControllerState() {
    const recording::ScreenRecorder& recorder = platform().screenRecorder();
    isScreenRecording = recorder.isRecording();
    shouldAllowRecording = recorder.isAvailable();
    isMicrophoneEnabled = recorder.isMicrophoneEnabled();
}

}  // namespace videoanalysis
