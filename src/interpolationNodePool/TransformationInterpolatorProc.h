#pragma once

#include "interpolationNodePool/Framework.h"
#include "interpolationNodePool/KeptAngle.h"
#include "interpolationNodePool/LinearInterpolatorProc.h"

#include <memory>
#include <vector>

namespace Zelvan {

class TransformationInterpolator;
/// Computes the values that a TransformationInterpolator sends.
class ZELVAN_INTERPOLATION_API TransformationInterpolatorProc : public LinearInterpolatorProc {
    ZELVAN_PROC(TransformationInterpolator)
public:
    /// Codes of the mode field's texts; 0 for any other text.
    static StringDic _modeDic[3];

    /// Brings the cache of logarithms up to date for one key value, or for all of them (index < 0).
    void buildLogMat(int index);
    /// Writes the matrix for `fraction`. Always true: a matrix that could not be computed is sent again.
    bool calculateValue(float const& fraction, osg::Matrix& value);
    /// The exponential of the blend, by t, of the logarithms of key values i and j.
    void interpolateMatrix(osg::Matrix& value, int i, int j, float t);
    /// Blends translation, rotation, scale and scale orientation of key values i and j by t.
    void interpolateComponent(osg::Matrix& value, int i, int j, float t);

    /// 0 not looked up yet or not a known mode, 1 matrix, 2 component.
    unsigned _modeCode = 0;
    /// Entry k is the logarithm of key value k.
    std::vector<osg::Matrix> _logCache;

private:
    /// What a key matrix is made of: T R SO S SO^-1. Kept with the matrix it was taken from.
    struct Components {
        osg::Matrix _matrix;
        osg::Vec3f _translation, _scale;
        osg::Quaternion _rotation, _scaleOrientation;
        bool _valid = false;

        ZELVAN_INTERPOLATION_LOCAL void take(osg::Matrix const& matrix);
    };
    /// What component mode remembers, there from its first interval on.
    struct Kept {
        /// Of the keys around the fraction, even keys in the first, odd ones in the second: going on to the next
        /// interval changes one of them.
        Components _components[2];
        KeptAngle _rotationAngle, _scaleOrientationAngle;
    };
    std::unique_ptr<Kept> _kept;
};

} // namespace Zelvan
