#include "player/editing/Cones.h"

#include "base/OpenSG.h"
#include "base/Rotation.h"

#include <numbers>

namespace Zelvan::play {

namespace {

Speed logOf(std::array<double, 4> const& a, std::array<double, 4> const& b)
{
    // The quaternion conj(a) b, by its shorter arc.
    double w = a[3] * b[3] + a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
    Speed v;
    for (std::size_t i = 0; i < 3; ++i) {
        std::size_t const j = (i + 1) % 3, k = (i + 2) % 3;
        v[i] = a[3] * b[i] - b[3] * a[i] - (a[j] * b[k] - a[k] * b[j]);
    }
    double const sine = std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
    double const factor = sine > 0 ? 2 * std::atan2(sine, std::abs(w)) / sine * (w < 0 ? -1 : 1) : 0;
    return {v[0] * factor, v[1] * factor, v[2] * factor};
}

} // namespace

RotationSpeeds::RotationSpeeds(KeyTrack const& track, double tolerance) : _track(track), _tolerances(track.size(), tolerance)
{
    for (std::size_t key = 0; key < track.size(); ++key) {
        auto const value = track.at(key);
        Rotation const rotation({value[0], value[1], value[2]}, value[3]);
        float const* const q = rotation.quaternion().getValues();
        double const length = std::sqrt(double(q[0]) * q[0] + double(q[1]) * q[1] + double(q[2]) * q[2] + double(q[3]) * q[3]);
        _quaternions.push_back({q[0] / length, q[1] / length, q[2] / length, q[3] / length});
    }
    // Two arcs that are apart by some angle at both ends are apart by more in the middle, as meridians are.
    for (std::size_t key = 0; key + 1 < track.size(); ++key) {
        Speed const turn = change(key, key + 1);
        double const factor = std::cos(std::sqrt(turn[0] * turn[0] + turn[1] * turn[1] + turn[2] * turn[2]) / 4);
        for (std::size_t const end : {key, key + 1})
            _tolerances[end] = std::min(_tolerances[end], tolerance * factor);
    }
}

Speed RotationSpeeds::change(std::size_t from, std::size_t to) const
{
    return logOf(_quaternions[from], _quaternions[to]);
}

bool RotationSpeeds::turnsAsMeant(Speed const& change) const
{
    return distance(0, change) < std::numbers::pi * 0.999;
}

ColorSpeeds::ColorSpeeds(KeyTrack const& track, double tolerance) : _track(track), _tolerance(tolerance)
{
    for (std::size_t key = 0; key < track.size(); ++key) {
        auto const value = track.at(key);
        float h, s, v;
        osg::Color3f(value[0], value[1], value[2]).getValuesHSV(h, s, v);
        _hsv.push_back({h, s, v});
    }
    for (std::size_t key = 0; key < track.size(); ++key) {
        double s = 0, v = 0;
        for (std::size_t near = key > 0 ? key - 1 : 0; near <= key + 1 && near < track.size(); ++near) {
            s = std::max(s, std::abs(_hsv[near][1]));
            v = std::max(v, std::abs(_hsv[near][2]));
        }
        _weights.push_back({v * s / 60, v, std::max(1.0, s - 1)});
    }
}

Speed ColorSpeeds::change(std::size_t from, std::size_t to) const
{
    return {_hsv[to][0] - _hsv[from][0], _hsv[to][1] - _hsv[from][1], _hsv[to][2] - _hsv[from][2]};
}

double ColorSpeeds::stretch(std::size_t from, std::size_t to) const
{
    double most = 0;
    for (std::size_t c = 0; c < 3; ++c)
        if (_weights[to][c] > 0)
            most = std::max(most, _weights[to][c] / _weights[from][c]);
    return most;
}

double ColorSpeeds::distance(std::size_t key, Speed const& d) const
{
    double sum = 0;
    for (std::size_t c = 0; c < 3; ++c)
        sum += _weights[key][c] > 0 ? _weights[key][c] * std::abs(d[c]) : 0;
    return sum;
}

} // namespace Zelvan::play
