#include "interpolationNodePool/TransformationInterpolatorProc.h"

#include "interpolationNodePool/DecomposableMatrix.h"
#include "interpolationNodePool/LinearInterpolation.h"
#include "interpolationNodePool/Slerp.h"
#include "interpolationNodePool/TransformationInterpolator.h"

#include <cstring>

namespace Zelvan {

NodeProc::StringDic TransformationInterpolatorProc::_modeDic[3] = {{"matrix", 1}, {"component", 2}, {"", 0}};

ZELVAN_PROC_BODY(TransformationInterpolator, LinearInterpolator)

void TransformationInterpolatorProc::fieldChanged(TransformationInterpolator& node, Field& field, TimeStamp const& timeStamp,
                                                  Field* from)
{
    auto& keyValue = node._keyValue._value;
    switch (fieldIndex(field)) {
    case TransformationInterpolator::set_fractionIndex:
        if (_logCache.size() != keyValue.size())
            buildLogMat(-1);
        if (_modeCode == 0)
            _modeCode = static_cast<unsigned>(findDic(_modeDic, node._mode));
        return evaluate(*this, node, node._value_changed, timeStamp);
    case TransformationInterpolator::keyValueIndex: return buildLogMat(-1);
    case TransformationInterpolator::value_changedIndex: return;
    case TransformationInterpolator::modeIndex: _modeCode = static_cast<unsigned>(findDic(_modeDic, node._mode)); return;
    case TransformationInterpolator::set_firstKeyValueIndex:
        if (!keyValue.empty()) {
            keyValue.front() = node._set_firstKeyValue._value;
            buildLogMat(0);
        }
        return;
    case TransformationInterpolator::set_lastKeyValueIndex:
        if (!keyValue.empty()) {
            keyValue.back() = node._set_lastKeyValue._value;
            buildLogMat(static_cast<int>(keyValue.size() - 1));
        }
        return;
    default: LinearInterpolatorProc::fieldChanged(node, field, timeStamp, from);
    }
}

void TransformationInterpolatorProc::buildLogMat(int index)
{
    auto const& keyValue = node()._keyValue._value;
    std::size_t const n = keyValue.size();
    // A cache of another size holds nothing worth keeping, and a new entry must not pass for a logarithm.
    if (index < 0 || _logCache.size() != n) {
        _logCache.resize(n);
        for (std::size_t k = 0; k < n; ++k)
            _logCache[k].logOf(keyValue[k]);
    } else if (static_cast<std::size_t>(index) < n) {
        _logCache[static_cast<std::size_t>(index)].logOf(keyValue[static_cast<std::size_t>(index)]);
    }
    if (index >= 0 && static_cast<std::size_t>(index) >= n && PoolLog::takes(osg::LOG_FATAL))
        PoolLog::write(osg::LOG_FATAL, ZELVAN_HERE, "Matrix index out of range, %d\n", index);
}

bool TransformationInterpolatorProc::calculateValue(float const& fraction, osg::Matrix& value)
{
    auto const& keyValue = node()._keyValue._value;
    unsigned index, valuesPerKey;
    float alpha;
    switch (calculateIndex(fraction, static_cast<unsigned>(keyValue.size()), false, index, valuesPerKey, alpha)) {
    case FractionInterval:
        if (_modeCode == 1)
            interpolateMatrix(value, static_cast<int>(index), static_cast<int>(index + 1), alpha);
        else if (_modeCode == 2)
            interpolateComponent(value, static_cast<int>(index), static_cast<int>(index + 1), alpha);
        else if (PoolLog::takes(osg::LOG_FATAL))
            PoolLog::write(osg::LOG_FATAL, ZELVAN_HERE, "Invalid mode in TI::calculateValue()\n");
        break;
    case FractionKey: value = keyValue[index]; break;
    case FractionNone: break;
    }
    return true;
}

void TransformationInterpolatorProc::interpolateMatrix(osg::Matrix& value, int i, int j, float t)
{
    // Only a caller that skipped the events finds a cache that does not fit.
    if (_logCache.size() != node()._keyValue._value.size())
        buildLogMat(-1);
    osg::Matrix const& from = _logCache[static_cast<std::size_t>(i)];
    osg::Matrix const& to = _logCache[static_cast<std::size_t>(j)];
    osg::Matrix blend;
    for (osg::UInt32 c = 0; c < 4; ++c)
        blend[c] = lerp(from[c], to[c], t);
    value.expOf(blend);
}

void TransformationInterpolatorProc::Components::take(osg::Matrix const& matrix)
{
    // Playback inside an interval meets the same two matrices again; compared bit for bit, they cannot be stale.
    static_assert(sizeof matrix == 16 * sizeof(float), "bits that are no value must not be compared");
    if (_valid && std::memcmp(&_matrix, &matrix, sizeof matrix) == 0)
        return;
    _matrix = matrix;
    _valid = true;

    DecomposableMatrix linear = matrix;
    _translation.setValues(linear[3][0], linear[3][1], linear[3][2]);
    for (osg::UInt32 c = 0; c < 3; ++c)
        linear[3][c] = linear[c][3] = 0.f;

    DecomposableMatrix orthogonal, symmetric, orientation;
    float determinant = 0.f;
    linear.polarDecompose(orthogonal, symmetric, determinant);
    float sign = 1.f;
    if (determinant < 0.f) {
        // A mirror: the negated factor is a proper rotation, and the scale factors carry the sign.
        orthogonal.negate();
        sign = -1.f;
    }
    _rotation.setValue(orthogonal);
    symmetric.spectralDecompose(orientation, _scale);
    _scaleOrientation.setValue(orientation);
    for (osg::UInt32 c = 0; c < 3; ++c)
        _scale[c] = _scale[c] * sign;
}

void TransformationInterpolatorProc::interpolateComponent(osg::Matrix& value, int i, int j, float t)
{
    auto const& keyValue = node()._keyValue._value;
    if (_kept == nullptr)
        _kept = std::make_unique<Kept>();
    Components& a = _kept->_components[i % 2 != 0];
    Components& b = _kept->_components[i % 2 == 0];
    a.take(keyValue[static_cast<std::size_t>(i)]);
    b.take(keyValue[static_cast<std::size_t>(j)]);
    value.setTransform(lerp(a._translation, b._translation, t), slerp(a._rotation, b._rotation, t, _kept->_rotationAngle),
                       lerp(a._scale, b._scale, t),
                       slerp(a._scaleOrientation, b._scaleOrientation, t, _kept->_scaleOrientationAngle));
}

} // namespace Zelvan
