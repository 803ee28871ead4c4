#pragma once
// What every drawing engine must do, as tests: the promises of `graphics::Context` computed exactly, and pictures compared with
// those in Testing/references. A program that links `TestingConformance` runs them against an engine with one line:
//
//     INSTANTIATE_TEST_SUITE_P(Cairo, GraphicsConformance,
//                              testing::Values(GraphicsBackend{"Cairo", [] { return std::make_unique<graphics::CairoEngine>(); }}));

#include "Testing/Canvas.h"
#include "VideoAnalysis/Platform/Graphics.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <ostream>
#include <string>

namespace videoanalysis::conformance {

/// The engine that is tested, and what it is allowed.
struct GraphicsBackend {
    std::string name;
    std::function<std::unique_ptr<graphics::Engine>()> makeEngine;
    /// How far a blur may be from the Gaussian, in steps of 0...255. Three box filters, the usual approximation, stay within 3 %.
    int blurTolerance = 8;

    friend void PrintTo(const GraphicsBackend& backend, std::ostream* stream) { *stream << backend.name; }
};

/// Each test has a fresh engine; the installed platform has another one of the same kind.
class GraphicsConformance : public testing::TestWithParam<GraphicsBackend> {
protected:
    GraphicsConformance();

    /// Compares what `draw` draws on a transparent bitmap of `size` points with the reference picture `name`.
    void expectPicture(const std::string& name, Size size, double scale,
                       const std::function<void(graphics::Context&)>& draw);

    const std::unique_ptr<graphics::Engine> engine = GetParam().makeEngine();
};

}  // namespace videoanalysis::conformance
