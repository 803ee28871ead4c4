#pragma once
// Compares a picture with a reference picture in a PNG file. The conformance suite of the drawing engines uses it.

#include "VideoAnalysis/Platform/Image.h"

#include <gtest/gtest.h>

#include <string>

namespace videoanalysis::conformance {

/// How far a picture may be from its reference, in steps of a channel of 0...255. The defaults suit any sound rasterizer:
///
/// * Away from edges only rounding differs: one step for the colour, one for its product with alpha, one for the blend.
/// * On edges, rasterizers estimate coverage differently. One that takes four samples per pixel is off by at most a quarter.
/// * Where a sample lies on the outline itself, a pixel may go either way; that is rare.
struct PictureTolerance {
    int flat = 3;             ///< on pixels whose neighbours in the reference look the same
    int edge = 64;            ///< on all others
    double edgeShare = 0.02;  ///< the part of the pixels on edges, 0...1, that may exceed `edge`
};

/// Whether `picture` looks like the file `name`.png in `folder`. A failure says how many pixels differ, where, and by how much
/// at the worst place, and which files hold the picture and the difference.
///
/// With VIDEOANALYSIS_MAKE_REFERENCES set in the environment the picture is written to `folder` as the new reference instead.
testing::AssertionResult looksLike(const Bitmap& picture, const std::string& folder, const std::string& name,
                                   const PictureTolerance& tolerance = {});

}  // namespace videoanalysis::conformance
