#include "Host/SampleClips/RunnerScene.h"

#include "Host/SampleClips/Drawing.h"

#include <algorithm>
#include <cmath>

namespace videoanalysis::samples {

namespace {

constexpr double stridesPerSecond = 1.35;  // a stride is two steps
constexpr double speed = 760;              // of the ground relative to the camera, canvas points per second
constexpr double ground = 592;

constexpr std::uint32_t skin = 0xd99a6c;
constexpr std::uint32_t skinFar = 0xb97b52;
constexpr std::uint32_t hair = 0x3a2a2a;
constexpr std::uint32_t shirt = 0xe4572e;
constexpr std::uint32_t shirtFar = 0xb9421f;
constexpr std::uint32_t shorts = 0x23395b;
constexpr std::uint32_t shortsFar = 0x1a2a44;
constexpr std::uint32_t shoe = 0xf7f3e3;
constexpr std::uint32_t shoeFar = 0xcfc9b4;

// Hashes an integer to 0...1, for scattered scenery that is reproducible.
double strewn(int index) {
    const double value = std::sin(index * 127.1 + 11.7) * 43758.5453;
    return value - std::floor(value);
}

// Calls `place(x, index)` for objects every `spacing` points in a layer scrolled by `offset`.
template <typename Place>
void repeat(double offset, double spacing, double margin, Place place) {
    const int first = static_cast<int>(std::floor((offset - margin) / spacing));
    for (int i = first; i * spacing - offset < Scene::width + margin; ++i) {
        place(i * spacing - offset, i);
    }
}

void drawHills(cairo_t* cairo, double offset, double base, double size, std::uint32_t rgb) {
    cairo_move_to(cairo, 0, Scene::height);
    for (int x = 0; x <= Scene::width; x += 8) {
        const double along = (x + offset) / 100;
        cairo_line_to(cairo, x, base - size * (0.5 * std::sin(along * 0.9) + 0.35 * std::sin(along * 1.7 + 1.3)));
    }
    cairo_line_to(cairo, Scene::width, Scene::height);
    cairo_close_path(cairo);
    setColor(cairo, rgb);
    cairo_fill(cairo);
}

void drawTree(cairo_t* cairo, double x, int index) {
    const double size = 0.8 + 0.5 * strewn(index);
    x += 90 * strewn(index + 500);
    fillLimb(cairo, {x, 440}, {x, 440 - 70 * size}, 12 * size, 7 * size, 0x7a5c4a);
    if (index % 3 == 0) {
        fillEllipse(cairo, {x, 440 - 118 * size}, 34 * size, 74 * size, 0x4f8a6b);
        fillEllipse(cairo, {x - 8 * size, 440 - 128 * size}, 20 * size, 56 * size, 0x5f9a79);
    } else {
        fillCircle(cairo, {x, 440 - 100 * size}, 48 * size, 0x5d9c74);
        fillCircle(cairo, {x + 22 * size, 440 - 78 * size}, 32 * size, 0x528e69);
        fillCircle(cairo, {x - 16 * size, 440 - 114 * size}, 26 * size, 0x70ad85);
    }
}

void drawScenery(cairo_t* cairo, double time) {
    fillGradient(cairo, 0, 460, 0x9fd3e0, 0xfdf0d8);
    fillCircle(cairo, {985, 170}, 62, 0xfff6df);
    fillCircle(cairo, {985, 170}, 92, 0xfff6df, 0.35);
    repeat(time * 14, 520, 200, [&](double x, int index) {
        const double y = 110 + 90 * strewn(index + 90);
        fillEllipse(cairo, {x, y}, 84, 17, 0xffffff, 0.75);
        fillEllipse(cairo, {x + 34, y - 14}, 46, 18, 0xffffff, 0.75);
        fillEllipse(cairo, {x - 30, y - 9}, 34, 13, 0xffffff, 0.75);
    });
    drawHills(cairo, time * 30, 352, 66, 0xb5d8c6);
    drawHills(cairo, time * 70 + 700, 398, 48, 0x93c4a9);
    fillRectangle(cairo, 0, 430, Scene::width, 300, 0x7db487);
    repeat(time * 230, 236, 170, [&](double x, int index) { drawTree(cairo, x, index); });

    // A low fence, then the grass, then the track.
    repeat(time * 420, 110, 20, [&](double x, int) { fillRectangle(cairo, x, 438, 7, 44, 0xf3ead7); });
    fillRectangle(cairo, 0, 444, Scene::width, 7, 0xf3ead7);
    fillRectangle(cairo, 0, 463, Scene::width, 6, 0xf3ead7);
    fillGradient(cairo, 482, 50, 0x6fae7a, 0x63a470);
    fillGradient(cairo, 526, Scene::height - 526, 0xc9674a, 0xb5573d);
    fillRectangle(cairo, 0, 526, Scene::width, 5, 0xf7ebdd);
    fillRectangle(cairo, 0, 560, Scene::width, 4, 0xe9c9b6);
    fillRectangle(cairo, 0, 634, Scene::width, 6, 0xe9c9b6);
    repeat(time * speed, 640, 160, [&](double x, int) {
        // A line across the lanes, slanted by the view.
        cairo_move_to(cairo, x + 60, 531);
        cairo_line_to(cairo, x + 68, 531);
        cairo_line_to(cairo, x - 88, Scene::height);
        cairo_line_to(cairo, x - 104, Scene::height);
        setColor(cairo, 0xf2dccd, 0.8);
        cairo_fill(cairo);
    });
}

// One leg at a phase of the stride: at 0 it passes below the body moving forward, at 0.25 it is farthest forward.
struct Leg {
    Point knee;
    Point ankle;
    double footAngle = 0;  // of the sole, from level, toes down positive
};

constexpr double thighLength = 106;
constexpr double shinLength = 104;

Leg legAt(Point hip, double phase) {
    const double thigh = degrees(11 + 40 * std::sin(phase));
    const double swing = std::pow((1 + std::cos(phase + degrees(18))) / 2, 1.7);
    const double stance = std::exp(-std::pow(std::remainder(phase - degrees(150), 2 * std::numbers::pi) / 0.6, 2));
    const double knee = degrees(12 + 104 * swing + 16 * stance);
    Leg leg;
    leg.knee = reach(hip, thighLength, thigh);
    leg.ankle = reach(leg.knee, shinLength, thigh - knee);
    // Flat on the ground, pushed off behind, toes up before landing.
    const double push = std::exp(-std::pow(std::remainder(phase - degrees(265), 2 * std::numbers::pi) / 0.75, 2));
    leg.footAngle = degrees(62) * push + 0.55 * std::max(0.0, knee - thigh - degrees(14)) * swing -
                    degrees(12) * std::max(0.0, std::sin(phase + degrees(10)));
    return leg;
}

// How far below the hip the lowest part of a foot is.
double depth(const Leg& leg, Point hip) {
    return leg.ankle.y - hip.y + 15 + 30 * std::max(0.0, std::sin(leg.footAngle));
}

void drawLeg(cairo_t* cairo, Point hip, const Leg& leg, bool far) {
    fillLimb(cairo, leg.knee, leg.ankle, 37, 21, far ? skinFar : skin);
    fillLimb(cairo, hip, leg.knee, 52, 37, far ? skinFar : skin);
    const Point hem{hip.x + 0.62 * (leg.knee.x - hip.x), hip.y + 0.62 * (leg.knee.y - hip.y)};
    fillLimb(cairo, hip, hem, 60, 53, far ? shortsFar : shorts);

    cairo_save(cairo);
    cairo_translate(cairo, leg.ankle.x, leg.ankle.y);
    cairo_rotate(cairo, leg.footAngle);
    fillLimb(cairo, {0, -4}, {0, 4}, 23, 24, far ? 0xc4c9d4 : 0xffffff);  // the sock
    fillRoundedRectangle(cairo, -17, 9, 58, 8, 4, far ? 0xd9a63c : 0xf6b93b);
    cairo_move_to(cairo, -17, 12);
    cairo_curve_to(cairo, -20, -4, -12, -8, 8, -5);
    cairo_curve_to(cairo, 18, -2, 26, 0, 34, 3);
    cairo_curve_to(cairo, 41, 5, 42, 9, 41, 12);
    cairo_close_path(cairo);
    setColor(cairo, far ? shoeFar : shoe);
    cairo_fill(cairo);
    cairo_restore(cairo);
}

void drawArm(cairo_t* cairo, Point shoulder, double phase, bool far) {
    const double upper = degrees(-14 - 46 * std::sin(phase));
    const double elbow = degrees(86 - 20 * std::sin(phase));
    const Point bend = reach(shoulder, 72, upper);
    const Point hand = reach(bend, 64, upper + elbow);
    fillLimb(cairo, shoulder, bend, 31, 25, far ? skinFar : skin);
    fillLimb(cairo, bend, hand, 25, 17, far ? skinFar : skin);
    fillCircle(cairo, reach(hand, 6, upper + elbow), 12.5, far ? skinFar : skin);
    const Point cuff{shoulder.x + 0.45 * (bend.x - shoulder.x), shoulder.y + 0.45 * (bend.y - shoulder.y)};
    fillLimb(cairo, shoulder, cuff, 40, 35, far ? shirtFar : shirt);
}

void drawHead(cairo_t* cairo, Point neck, double phase) {
    const Point head{neck.x + 17, neck.y - 50};
    fillLimb(cairo, {neck.x - 1, neck.y + 6}, {head.x - 8, head.y + 16}, 28, 26, skinFar);
    // The tail of the hair lags behind the bob of the body.
    const double sway = std::sin(2 * phase + degrees(40));
    const Point knot{head.x - 33, head.y - 13};
    const Point middle{knot.x - 34, knot.y + 14 - 8 * sway};
    cairo_move_to(cairo, knot.x + 6, knot.y - 8);
    cairo_curve_to(cairo, knot.x - 12, knot.y - 16, middle.x + 4, middle.y - 16, middle.x - 22,
                   middle.y + 20 - 12 * sway);
    cairo_curve_to(cairo, middle.x + 4, middle.y + 12, knot.x - 8, knot.y + 14, knot.x + 6, knot.y + 8);
    setColor(cairo, hair);
    cairo_fill(cairo);

    fillEllipse(cairo, {head.x + 3, head.y + 2}, 32, 37, skin);
    // Nose and chin.
    fillEllipse(cairo, {head.x + 34, head.y + 7}, 7, 6, skin);
    fillEllipse(cairo, {head.x + 17, head.y + 29}, 14, 10, skin);
    cairo_save(cairo);
    cairo_arc(cairo, head.x, head.y - 2, 38, degrees(130), degrees(318));
    cairo_curve_to(cairo, head.x + 14, head.y - 18, head.x + 2, head.y - 12, head.x - 2, head.y + 2);
    cairo_curve_to(cairo, head.x - 8, head.y + 14, head.x - 16, head.y + 22, head.x - 24, head.y + 27);
    cairo_close_path(cairo);
    setColor(cairo, hair);
    cairo_fill(cairo);
    cairo_restore(cairo);
    fillEllipse(cairo, {head.x - 4, head.y + 7}, 5.5, 8, skinFar);
    // The band over the brow, the eye, the mouth.
    cairo_set_line_width(cairo, 8);
    cairo_arc(cairo, head.x, head.y - 2, 36, degrees(196), degrees(330));
    setColor(cairo, 0xf6b93b);
    cairo_stroke(cairo);
    fillEllipse(cairo, {head.x + 22, head.y + 2}, 3.2, 4.6, 0x2b2024);
    cairo_set_line_width(cairo, 3);
    cairo_set_line_cap(cairo, CAIRO_LINE_CAP_ROUND);
    cairo_move_to(cairo, head.x + 30, head.y + 20);
    cairo_curve_to(cairo, head.x + 26, head.y + 24, head.x + 22, head.y + 23, head.x + 19, head.y + 21);
    setColor(cairo, 0x8e4a36);
    cairo_stroke(cairo);
}

}  // namespace

void RunnerScene::draw(cairo_t* cairo, double time) const {
    drawScenery(cairo, time);

    const double phase = 2 * std::numbers::pi * stridesPerSecond * time;
    const double farPhase = phase + std::numbers::pi;

    // The lower foot supports the body; between steps both feet are off the ground.
    const Point origin{0, 0};
    const double nearDepth = depth(legAt(origin, phase), origin);
    const double farDepth = depth(legAt(origin, farPhase), origin);
    const double lower = std::max(nearDepth, farDepth) + 4 * std::log1p(std::exp(-std::abs(nearDepth - farDepth) / 4));
    const double flight = 20 * std::pow(std::max(0.0, std::cos(2 * (phase - degrees(95)))), 2.0);
    const Point hip{610, ground - lower - flight};

    fillEllipse(cairo, {hip.x + 6, ground + 6}, 108 - flight, 11, 0x7c3522, 0.45);

    const Point neck = reach({hip.x + 4, hip.y}, 150, degrees(180 - 9 + 2 * std::cos(2 * phase)));
    const double twist = 5 * std::sin(phase);
    const Point nearShoulder{neck.x - 3 - twist, neck.y + 18};
    const Point farShoulder{neck.x + 6 + twist, neck.y + 19};

    drawArm(cairo, farShoulder, farPhase, true);
    drawLeg(cairo, {hip.x + 5, hip.y}, legAt({hip.x + 5, hip.y}, farPhase), true);
    drawHead(cairo, neck, phase);
    drawLeg(cairo, {hip.x - 3, hip.y}, legAt({hip.x - 3, hip.y}, phase), false);

    // The body: chest, waist, and the number that a runner wears.
    fillLimb(cairo, {neck.x, neck.y + 28}, {hip.x + 1, hip.y - 14}, 68, 58, shirt);
    fillLimb(cairo, {hip.x - 1, hip.y - 10}, {hip.x + 1, hip.y + 4}, 58, 60, shorts);
    cairo_save(cairo);
    cairo_translate(cairo, (neck.x + hip.x) / 2 + 6, (neck.y + hip.y) / 2 + 10);
    cairo_rotate(cairo, degrees(9));
    fillRoundedRectangle(cairo, -17, -19, 34, 36, 4, 0xfffaf0);
    fillRoundedRectangle(cairo, -9, -10, 7, 18, 2, 0x23395b);
    fillRoundedRectangle(cairo, 2, -10, 7, 18, 2, 0x23395b);
    cairo_restore(cairo);
    drawArm(cairo, nearShoulder, phase, false);
}

}  // namespace videoanalysis::samples
