#include "Host/SampleClips/TennisScene.h"

#include "Host/SampleClips/Drawing.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace videoanalysis::samples {

namespace {

constexpr double ground = 600;
constexpr double period = 3;  // seconds from serve to serve

constexpr std::uint32_t skin = 0xb9774f;
constexpr std::uint32_t skinFar = 0x96603e;
constexpr std::uint32_t hair = 0x2a2127;
constexpr std::uint32_t shirt = 0xf4f1ea;
constexpr std::uint32_t shirtFar = 0xd3d3d6;
constexpr std::uint32_t shorts = 0x2b3a67;
constexpr std::uint32_t shortsFar = 0x202c50;

// The body at one moment. Angles in degrees from straight down, positive towards the net (right); lengths in canvas
// points relative to the base line and the ground.
struct Pose {
    double time;
    double hipX;
    double hipHeight;
    double lean;  // of the trunk from upright, towards the net
    double tossUpper;
    double tossFore;
    double racketUpper;
    double racketFore;
    double racket;
    double frontFootX;
    double frontHeel;  // how far it is lifted
    double backFootX;
    double backHeel;
    double jump;  // how far both feet are off the ground
};

constexpr std::array<Pose, 11> poses{{
    {0.00, -50, 212, 9, 42, 86, 28, 88, 100, 0, 0, -108, 0, 0},            // ready
    {0.40, -58, 210, 6, 22, 50, 8, 45, 62, 0, 4, -108, 0, 0},              // the arms part
    {0.80, -50, 208, -2, 96, 104, -62, -78, -96, 0, 0, -104, 8, 0},        // the toss
    {1.10, -36, 198, -10, 166, 170, -98, -176, -202, 0, 4, -92, 26, 0},    // wound up
    {1.30, -22, 178, -15, 172, 176, -112, -206, -120, 0, 18, -66, 40, 0},  // the knees are bent most
    {1.46, -8, 214, -8, 138, 168, -140, -236, -18, 2, 34, -50, 50, 8},     // the racket hangs behind the back
    {1.54, 0, 224, 0, 108, 154, -165, -205, -80, 6, 40, -46, 58, 18},      // and comes up
    {1.60, 6, 232, 7, 80, 140, -182, -186, -190, 10, 40, -44, 66, 22},     // the hit
    {1.72, 22, 216, 26, 42, 130, -258, -290, -305, 26, 20, -50, 96, 10},   // through
    {1.98, 34, 200, 34, 16, 104, -318, -372, -395, 42, 0, -40, 70, 0},     // to the far side
    {2.45, -8, 210, 16, 34, 92, -328, -290, -270, 14, 0, -80, 14, 0},      // the way back
}};

// Poses are interpolated by a periodic Catmull-Rom spline with non-uniform knots.
double between(double Pose::*value, double time) {
    constexpr int count = static_cast<int>(poses.size());
    // Each serve rotates the racket arm by a full turn; the next one continues from there.
    const bool turns = value == &Pose::racketUpper || value == &Pose::racketFore || value == &Pose::racket;
    const auto at = [&](int index) {
        const int round = index < 0 ? -1 : index / count;
        const Pose& pose = poses[static_cast<std::size_t>(index - round * count)];
        return std::pair{pose.time + round * period, pose.*value - (turns ? 360.0 * round : 0.0)};
    };
    int index = count - 1;
    while (index > 0 && poses[static_cast<std::size_t>(index)].time > time) {
        --index;
    }
    const auto [t0, v0] = at(index - 1);
    const auto [t1, v1] = at(index);
    const auto [t2, v2] = at(index + 1);
    const auto [t3, v3] = at(index + 2);
    const double part = (time - t1) / (t2 - t1);
    const double slope1 = (v2 - v0) / (t2 - t0) * (t2 - t1);
    const double slope2 = (v3 - v1) / (t3 - t1) * (t2 - t1);
    const double square = part * part;
    const double cube = square * part;
    return (2 * cube - 3 * square + 1) * v1 + (cube - 2 * square + part) * slope1 + (3 * square - 2 * cube) * v2 +
           (cube - square) * slope2;
}

void drawCourt(cairo_t* cairo) {
    fillGradient(cairo, 0, 330, 0xf7d9b9, 0xf9ece0);
    fillCircle(cairo, {300, 150}, 70, 0xfdf3e7);
    // Roofs and trees behind the hedge, soft in the evening light.
    for (int i = 0; i < 9; ++i) {
        const double x = 60 + 150.0 * i;
        const double size = 50 + 17 * std::sin(i * 2.3);
        fillCircle(cairo, {x, 292}, size, 0xc5cbb4);
        fillCircle(cairo, {x + 58, 302}, size * 0.7, 0xb5c0a8);
    }
    fillRectangle(cairo, 0, 296, Scene::width, 130, 0x5f8f7b);
    for (int i = 0; i < 27; ++i) {
        fillCircle(cairo, {i * 50.0 - 6, 300 + 4 * std::sin(i * 1.9)}, 30, 0x5f8f7b);
    }
    fillRectangle(cairo, 0, 330, Scene::width, 92, 0x2f5d62);
    for (int i = 0; i < 7; ++i) {
        fillRectangle(cairo, 40 + 200.0 * i, 318, 6, 104, 0x24494d);
    }
    fillRectangle(cairo, 0, 328, Scene::width, 5, 0xe8efe9);
    fillRectangle(cairo, 0, 422, Scene::width, 40, 0x76a889);
    fillGradient(cairo, 458, Scene::height - 458, 0x4f8fba, 0x3f7ba6);
    fillRectangle(cairo, 0, 484, Scene::width, 4, 0xdcebf3);
    fillRectangle(cairo, 0, 668, Scene::width, 7, 0xf3f8fb);
    // The base line, slanted by the view, just before the front foot.
    cairo_move_to(cairo, 690, 488);
    cairo_line_to(cairo, 697, 488);
    cairo_line_to(cairo, 663, 668);
    cairo_line_to(cairo, 652, 668);
    setColor(cairo, 0xf3f8fb);
    cairo_fill(cairo);
    // The net, seen from its end.
    fillRectangle(cairo, 1196, 402, 9, 206, 0x2c3e50);
    fillCircle(cairo, {1200.5, 402}, 8, 0x2c3e50);
    cairo_set_line_width(cairo, 2);
    setColor(cairo, 0xf3f8fb, 0.55);
    for (int i = 0; i <= 12; ++i) {
        cairo_move_to(cairo, 1205, 420 + 13.0 * i);
        cairo_line_to(cairo, 1280, 408 + 13.6 * i);
        cairo_stroke(cairo);
    }
    for (int i = 0; i < 6; ++i) {
        cairo_move_to(cairo, 1214 + 12.0 * i, 418 - 2.0 * i);
        cairo_line_to(cairo, 1214 + 12.0 * i, 577 - 2.0 * i);
        cairo_stroke(cairo);
    }
    cairo_set_line_width(cairo, 9);
    setColor(cairo, 0xffffff);
    cairo_move_to(cairo, 1205, 418);
    cairo_line_to(cairo, 1284, 406);
    cairo_stroke(cairo);
}

void drawLeg(cairo_t* cairo, Point hip, Point foot, double heel, bool far) {
    const double sole = std::asin(std::clamp(heel / 100, 0.0, 0.95));
    // The foot's position is that of the toes; the heel and the ankle rotate about them.
    const Point toes{foot.x + 30, foot.y};
    const Point ankle{toes.x - 38 * std::cos(sole) + 14 * std::sin(sole), toes.y - 38 * std::sin(sole) - 14};
    const Point knee = joint(hip, ankle, 106, 1);
    fillLimb(cairo, knee, ankle, 38, 22, far ? skinFar : skin);
    fillLimb(cairo, hip, knee, 54, 38, far ? skinFar : skin);
    const Point hem{hip.x + 0.66 * (knee.x - hip.x), hip.y + 0.66 * (knee.y - hip.y)};
    fillLimb(cairo, hip, hem, 62, 56, far ? shortsFar : shorts);
    cairo_save(cairo);
    cairo_translate(cairo, ankle.x, ankle.y);
    cairo_rotate(cairo, sole);
    fillLimb(cairo, {0, -14}, {0, 2}, 24, 24, far ? 0xc9ccd2 : 0xffffff);
    fillRoundedRectangle(cairo, -17, 7, 58, 8, 4, far ? 0xc8553d : 0xe4572e);
    cairo_move_to(cairo, -17, 10);
    cairo_curve_to(cairo, -20, -6, -12, -10, 8, -7);
    cairo_curve_to(cairo, 18, -4, 26, -2, 34, 1);
    cairo_curve_to(cairo, 41, 3, 42, 7, 41, 10);
    cairo_close_path(cairo);
    setColor(cairo, far ? 0xd0d4da : 0xffffff);
    cairo_fill(cairo);
    cairo_restore(cairo);
}

// Draws an arm and returns the position of its hand.
Point drawArm(cairo_t* cairo, Point shoulder, double upper, double forearm, bool far) {
    const Point elbow = reach(shoulder, 72, upper);
    const Point hand = reach(elbow, 66, forearm);
    fillLimb(cairo, shoulder, elbow, 32, 26, far ? skinFar : skin);
    fillLimb(cairo, elbow, hand, 26, 18, far ? skinFar : skin);
    fillCircle(cairo, hand, 13, far ? skinFar : skin);
    const Point cuff{shoulder.x + 0.5 * (elbow.x - shoulder.x), shoulder.y + 0.5 * (elbow.y - shoulder.y)};
    fillLimb(cairo, shoulder, cuff, 42, 37, far ? shirtFar : shirt);
    return hand;
}

constexpr double handToRacketHead = 104;

void drawRacket(cairo_t* cairo, Point hand, double angle) {
    const Point throat = reach(hand, 58, angle);
    const Point head = reach(hand, handToRacketHead, angle);
    fillLimb(cairo, reach(hand, -14, angle), reach(hand, 24, angle), 10, 9, 0x2a2a33);
    fillLimb(cairo, reach(hand, 24, angle), throat, 7, 7, 0xd7263d);
    cairo_save(cairo);
    cairo_translate(cairo, head.x, head.y);
    cairo_rotate(cairo, -angle);
    cairo_scale(cairo, 1, 1.28);
    cairo_arc(cairo, 0, 0, 35, 0, 2 * std::numbers::pi);
    setColor(cairo, 0xffffff, 0.3);
    cairo_fill_preserve(cairo);
    cairo_save(cairo);
    cairo_clip(cairo);
    cairo_set_line_width(cairo, 1.3);
    setColor(cairo, 0xffffff, 0.9);
    for (int line = -28; line <= 28; line += 8) {
        cairo_move_to(cairo, line, -36);
        cairo_line_to(cairo, line, 36);
        cairo_move_to(cairo, -36, line);
        cairo_line_to(cairo, 36, line);
    }
    cairo_stroke(cairo);
    cairo_restore(cairo);
    cairo_arc(cairo, 0, 0, 35, 0, 2 * std::numbers::pi);
    cairo_restore(cairo);
    cairo_set_line_width(cairo, 7);
    setColor(cairo, 0xd7263d);
    cairo_stroke(cairo);
}

void drawHead(cairo_t* cairo, Point neck, double tilt) {
    cairo_save(cairo);
    cairo_translate(cairo, neck.x + 4, neck.y + 2);
    cairo_rotate(cairo, tilt);
    fillLimb(cairo, {-2, 6}, {4, -32}, 30, 28, skinFar);
    const Point head{8, -52};
    fillEllipse(cairo, {head.x + 3, head.y + 2}, 32, 37, skin);
    fillEllipse(cairo, {head.x + 34, head.y + 8}, 7, 6, skin);
    fillEllipse(cairo, {head.x + 17, head.y + 29}, 14, 10, skin);
    cairo_arc(cairo, head.x - 1, head.y - 1, 37, degrees(120), degrees(330));
    cairo_curve_to(cairo, head.x + 14, head.y - 14, head.x + 2, head.y - 10, head.x - 4, head.y + 4);
    cairo_curve_to(cairo, head.x - 8, head.y + 16, head.x - 12, head.y + 24, head.x - 18, head.y + 32);
    cairo_close_path(cairo);
    setColor(cairo, hair);
    cairo_fill(cairo);
    fillEllipse(cairo, {head.x - 5, head.y + 7}, 5.5, 8, skinFar);
    // A visor, the eye, the mouth.
    cairo_set_line_width(cairo, 11);
    cairo_arc(cairo, head.x, head.y - 2, 35, degrees(190), degrees(336));
    setColor(cairo, 0xe4572e);
    cairo_stroke(cairo);
    fillLimb(cairo, {head.x + 30, head.y - 15}, {head.x + 54, head.y - 9}, 9, 5, 0xe4572e);
    fillEllipse(cairo, {head.x + 22, head.y + 3}, 3.2, 4.6, 0x231a1c);
    cairo_set_line_width(cairo, 3);
    cairo_set_line_cap(cairo, CAIRO_LINE_CAP_ROUND);
    cairo_move_to(cairo, head.x + 30, head.y + 20);
    cairo_line_to(cairo, head.x + 20, head.y + 22);
    setColor(cairo, 0x6e3a2a);
    cairo_stroke(cairo);
    cairo_restore(cairo);
}

// The pose at one time, for drawing the player and the ball.
struct Figure {
    Point hip;
    Point neck;
    Point tossShoulder;
    Point racketShoulder;
    double tossUpper = 0;
    double tossFore = 0;
    double racketUpper = 0;
    double racketFore = 0;
    double racket = 0;

    explicit Figure(double time) {
        const double jump = between(&Pose::jump, time);
        hip = {640 + between(&Pose::hipX, time), ground - between(&Pose::hipHeight, time) - jump};
        const double lean = degrees(between(&Pose::lean, time));
        neck = reach(hip, 152, degrees(180) - lean);
        racketShoulder = reach(neck, 20, -lean);
        tossShoulder = {racketShoulder.x + 8, racketShoulder.y - 2};
        tossUpper = degrees(between(&Pose::tossUpper, time));
        tossFore = degrees(between(&Pose::tossFore, time));
        racketUpper = degrees(between(&Pose::racketUpper, time));
        racketFore = degrees(between(&Pose::racketFore, time));
        racket = degrees(between(&Pose::racket, time));
    }

    Point tossHand() const { return reach(reach(tossShoulder, 72, tossUpper), 66, tossFore); }
    Point racketHead() const {
        return reach(reach(reach(racketShoulder, 72, racketUpper), 66, racketFore), handToRacketHead, racket);
    }
};

constexpr double releaseTime = 0.92;
constexpr double hitTime = 1.6;

// The ball's position: in the hand, tossed to meet the racket, or flying over the net.
Point ballAt(double time) {
    if (time < releaseTime) {
        const Figure figure(time);
        return reach(figure.tossHand(), 17, figure.tossFore);
    }
    const Figure atRelease(releaseTime);
    const Point release = reach(atRelease.tossHand(), 17, atRelease.tossFore);
    const Point hit = Figure(hitTime).racketHead();
    if (time < hitTime) {
        constexpr double gravity = 1500;
        const double flight = hitTime - releaseTime;
        const double since = time - releaseTime;
        const double speedX = (hit.x - release.x) / flight;
        const double speedY = (hit.y - release.y) / flight - gravity * flight / 2;
        return {release.x + speedX * since, release.y + speedY * since + gravity * since * since / 2};
    }
    const double since = time - hitTime;
    return {hit.x + 2300 * since, hit.y + 330 * since + 200 * since * since};
}

void drawBall(cairo_t* cairo, Point ball, double radius) {
    fillCircle(cairo, ball, radius, 0xd9ed4b);
    cairo_set_line_width(cairo, 2);
    cairo_arc(cairo, ball.x - radius, ball.y, radius, degrees(-48), degrees(48));
    setColor(cairo, 0xfbffe0);
    cairo_stroke(cairo);
}

}  // namespace

void TennisScene::draw(cairo_t* cairo, double time) const {
    drawCourt(cairo);
    // Smaller than the runner, so that the racket stays in the picture at the hit.
    cairo_translate(cairo, 640, ground);
    cairo_scale(cairo, 0.84, 0.84);
    cairo_translate(cairo, -640, -ground);
    const double moment = std::fmod(time, period);
    const Figure figure(moment);
    const double jump = between(&Pose::jump, moment);

    const Point frontFoot{640 + between(&Pose::frontFootX, moment), ground - jump};
    const Point backFoot{640 + between(&Pose::backFootX, moment), ground - jump};
    fillEllipse(cairo, {figure.hip.x + 14, ground + 4}, 112 - jump, 11, 0x23506f, 0.5);

    if (moment < releaseTime) {
        drawBall(cairo, ballAt(moment), 13);
    }
    drawArm(cairo, figure.tossShoulder, figure.tossUpper, figure.tossFore, true);
    drawLeg(cairo, {figure.hip.x + 7, figure.hip.y}, frontFoot, between(&Pose::frontHeel, moment), true);
    const double gaze = moment > 0.8 && moment < 1.62 ? -std::sin((moment - 0.8) / 0.82 * std::numbers::pi) : 0;
    drawHead(cairo, figure.neck, degrees(26 * gaze + 0.4 * between(&Pose::lean, moment)));
    drawLeg(cairo, {figure.hip.x - 5, figure.hip.y}, backFoot, between(&Pose::backHeel, moment), false);
    fillLimb(cairo, reach(figure.neck, 30, degrees(-between(&Pose::lean, moment))), {figure.hip.x, figure.hip.y - 14},
             72, 60, shirt);
    fillLimb(cairo, {figure.hip.x, figure.hip.y - 8}, {figure.hip.x, figure.hip.y + 4}, 60, 62, shorts);
    if (moment >= releaseTime) {
        drawBall(cairo, ballAt(moment), 13);
    }
    const Point hand = reach(reach(figure.racketShoulder, 72, figure.racketUpper), 66, figure.racketFore);
    drawRacket(cairo, hand, figure.racket);
    drawArm(cairo, figure.racketShoulder, figure.racketUpper, figure.racketFore, false);
}

}  // namespace videoanalysis::samples
