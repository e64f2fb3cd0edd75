#pragma once

#include "interpolationNodePool/Framework.h"

namespace Zelvan {

/// A matrix whose decompositions may be called: OpenSG keeps them to the classes derived from its own.
class DecomposableMatrix : public osg::Matrix {
public:
    DecomposableMatrix() = default;
    DecomposableMatrix(osg::Matrix const& matrix) : osg::Matrix(matrix) {}

    using osg::Matrix::polarDecompose;
    using osg::Matrix::spectralDecompose;
};

} // namespace Zelvan
