// Events of TransformationInterpolator in both modes, and the exponential they depend on.

#include "bench/Events.h"

#include "interpolationNodePool/DecomposableMatrix.h"
#include "interpolationNodePool/LinearInterpolation.h"
#include "interpolationNodePool/ScalarInterpolator.h"
#include "interpolationNodePool/Slerp.h"
#include "interpolationNodePool/TransformationInterpolator.h"

#include <Eigen/Core>
#include <Eigen/SVD>
#include <unsupported/Eigen/MatrixFunctions>

#include <tuple>

namespace Zelvan::bench {
namespace {

using osg::Matrix, osg::Quaternion, osg::Vec3f;
using Node = TransformationInterpolator;

constexpr unsigned keys = 10;

/// What scenes hold: turned, moved, stretched along tilted axes.
std::vector<Matrix> transforms(std::size_t count)
{
    return randomValues(count, [](auto& number) {
        auto const vector = [&] { return Vec3f(number(), number(), number()); };
        Matrix m;
        m.setTransform(vector() * 20, Quaternion(vector(), 2.5f * number()), vector() * 0.5f + Vec3f(1, 1, 1),
                       Quaternion(vector(), number()));
        return m;
    });
}

auto transformation(std::string const& mode, std::size_t keyCount = keys)
{
    auto const animation = animate<Node>(evenKeys(static_cast<unsigned>(keyCount)), transforms(keyCount));
    animation->_node._mode._value = mode;
    animation->changed(animation->_node._mode);
    animation->changed(animation->_node._keyValue);
    return animation;
}

std::vector<Matrix> logarithms()
{
    std::vector<Matrix> result = transforms(keys);
    for (Matrix& m : result)
        m.logOf(m);
    return result;
}

Matrix blended(std::vector<Matrix> const& list, Step const& step)
{
    Matrix blend;
    for (osg::UInt32 c = 0; c < 4; ++c)
        blend[c] = lerp(list[step.interval][c], list[step.interval + 1][c], step.alpha);
    return blend;
}

struct Components {
    Vec3f translation, scale;
    Quaternion rotation, orientation;
};

/// What remains to be done when a matrix is the product of an orthogonal and a symmetric one.
Components components(Matrix const& whole, Matrix const& orthogonal, Matrix const& symmetric)
{
    Components result;
    result.translation.setValues(whole[3][0], whole[3][1], whole[3][2]);
    result.rotation.setValue(orthogonal);
    Matrix orientation;
    DecomposableMatrix(symmetric).spectralDecompose(orientation, result.scale);
    result.orientation.setValue(orientation);
    return result;
}

Components componentsOf(Matrix const& m)
{
    DecomposableMatrix linear = m;
    Matrix orthogonal, symmetric;
    linear[3].setValues(0, 0, 0, 1);
    float determinant;
    linear.polarDecompose(orthogonal, symmetric, determinant);
    return components(m, orthogonal, symmetric);
}

Components componentsByEigen(Matrix const& m)
{
    Eigen::Matrix3f const linear = Eigen::Map<Eigen::Matrix4f const>(m.getValues()).topLeftCorner<3, 3>();
    Eigen::JacobiSVD<Eigen::Matrix3f> const svd(linear, Eigen::ComputeFullU | Eigen::ComputeFullV);
    Matrix orthogonal, symmetric;
    Eigen::Map<Eigen::Matrix4f>(orthogonal.getValues()).topLeftCorner<3, 3>() = svd.matrixU() * svd.matrixV().transpose();
    Eigen::Map<Eigen::Matrix4f>(symmetric.getValues()).topLeftCorner<3, 3>() =
        svd.matrixV() * svd.singularValues().asDiagonal() * svd.matrixV().transpose();
    return components(m, orthogonal, symmetric);
}

Matrix composed(Components const& a, Components const& b, float t)
{
    Matrix result;
    KeptAngle none, noneEither;
    result.setTransform(lerp(a.translation, b.translation, t), slerp(a.rotation, b.rotation, t, none),
                        lerp(a.scale, b.scale, t), slerp(a.orientation, b.orientation, t, noneEither));
    return result;
}

/// The event of a field that replaces one key value, beside the logarithm that it costs.
void measureSetting(std::string const& name, osg::UInt32 keyCount, SFMatrix4f Node::*field)
{
    measureUnlike(name + ", " + std::to_string(keyCount) + " keys : logarithm", 1.2, [=] {
        auto const animation = transformation("matrix", keyCount);
        auto const matrices = transforms(64);
        SFMatrix4f& input = animation->_node.*field;
        auto const whole = [=, &input, i = 0u]() mutable {
            input._value = matrices[i++ % 64];
            animation->changed(input);
            return 0;
        };
        auto const bare = [=, i = 0u]() mutable {
            Matrix result;
            result.logOf(matrices[i++ % 64]);
            return result;
        };
        return std::pair(whole, bare);
    });
}

[[maybe_unused]] bool const added = [] {
    auto const steps = [] { return playback(evenKeys(keys), 600); };
    // The very matrices that the events exponentiate.
    auto const exponentials = [steps](auto exponential) {
        std::vector<Matrix> blends(steps().count());
        for (auto [i, logs, all] = std::tuple(0u, logarithms(), steps()); i < blends.size(); ++i)
            blends[i] = blended(logs, all.next());
        return [blends, exponential, i = 0u]() mutable {
            i = i + 1 == blends.size() ? 0 : i + 1;
            return exponential(blends[i]);
        };
    };
    auto const ours = [](Matrix const& blend) {
        Matrix result;
        result.expOf(blend);
        return result;
    };
    auto const eigens = [](Matrix const& blend) {
        return Eigen::Matrix4f(Eigen::Map<Eigen::Matrix4f const>(blend.getValues()).exp());
    };
    measureUnlike("TransformationInterpolator, matrix mode : exponential by Eigen", 0.43,
                  [=] { return std::pair(events(transformation("matrix"), steps()), exponentials(eigens)); });
    measureUnlike("exponential : exponential by Eigen", 0.3,
                  [=] { return std::pair(exponentials(ours), exponentials(eigens)); });
    measureUnlike("TransformationInterpolator, matrix mode, less its exponential : ScalarInterpolator", 1.6, [=] {
        auto const scalar = animate<ScalarInterpolator>(evenKeys(keys), randomFloats(keys));
        return std::tuple(events(transformation("matrix"), steps()), exponentials(ours), events(scalar, steps()));
    });

    measure("TransformationInterpolator, component mode, one interval : two slerps and composing", 1.5, [] {
        auto const animation = transformation("component");
        auto walk = within(evenKeys(keys), 4);
        auto const a = componentsOf(animation->values()[4]), b = componentsOf(animation->values()[5]);
        return std::pair(events(animation, walk), [=]() mutable { return composed(a, b, walk.next().alpha); });
    });
    measureUnlike("TransformationInterpolator, component mode, changing intervals : with Eigen's SVD", 0.7, [] {
        auto const animation = transformation("component");
        auto walk = leaps(evenKeys(keys), {1, 5, 3, 7});
        auto const byEigen = [=]() mutable {
            auto const [fraction, i, t] = walk.next();
            auto const& list = animation->values();
            return composed(componentsByEigen(list[i]), componentsByEigen(list[i + 1]), t);
        };
        return std::pair(events(animation, walk), byEigen);
    });

    for (osg::UInt32 const count : {1, 10'000}) {
        measureSetting("set_firstKeyValue", count, &Node::_set_firstKeyValue);
        measureSetting("set_lastKeyValue", count, &Node::_set_lastKeyValue);
    }
    return true;
}();

} // namespace
} // namespace Zelvan::bench
