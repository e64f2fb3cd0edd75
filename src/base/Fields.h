#pragma once

#include "base/OpenSG.h"
#include "base/Rotation.h"
#include "base/XField.h"

#include <string>

namespace Zelvan {

/// What the concrete single-value fields add to SField: their data type, texts and binary form.
template <class T, NodePartDataType code>
class ZELVAN_BASE_API SFieldOf : public SField<T, false> {
public:
    SFieldOf() = default;
    explicit SFieldOf(Node& node) : SField<T, false>(&node) {}

    NodePartDataType dataType() const override;
    bool setValueByStr(char const* text, Field::Cardinality cardinality) override;
    std::string getValueAsStr() const override;
    std::string get1ValueAsStr(int index) const override;
    bool setValueByBin(std::string const& bin) override;
    void setToDefault() override;
    bool set1ValueByStr(int index, char const* text) override;
    unsigned elementSize() const override;
    std::string getValueAsBin(int index) const override;
};

/// What the concrete list fields add to MVField.
template <class E, NodePartDataType code>
class ZELVAN_BASE_API MFieldOf : public MVField<E, false> {
public:
    MFieldOf() = default;
    explicit MFieldOf(Node& node) : MVField<E, false>(&node) {}

    NodePartDataType dataType() const override;
    bool setValueByStr(char const* text, Field::Cardinality cardinality) override;
    std::string getValueAsStr() const override;
    std::string get1ValueAsStr(int index) const override;
    bool setValueByBin(std::string const& bin) override;
    void setToDefault() override;
    bool set1ValueByStr(int index, char const* text) override;
    unsigned elementSize() const override;
    std::string getValueAsBin(int index) const override;
    std::string get1ValueAsBin(int index) const override;
    int addValueByStr(char const* text, Field::Cardinality cardinality) override;
    bool set1ValueByBin(int index, std::string const& bin) override;
};

extern template class ZELVAN_BASE_API SFieldOf<bool, SFBoolType>;
extern template class ZELVAN_BASE_API SFieldOf<osg::Color3<float>, SFColorType>;
extern template class ZELVAN_BASE_API MFieldOf<osg::Color3<float>, MFColorType>;
extern template class ZELVAN_BASE_API SFieldOf<float, SFFloatType>;
extern template class ZELVAN_BASE_API MFieldOf<float, MFFloatType>;
extern template class ZELVAN_BASE_API SFieldOf<osg::TransformationMatrix<float>, SFMatrix4fType>;
extern template class ZELVAN_BASE_API MFieldOf<osg::TransformationMatrix<float>, MFMatrix4fType>;
extern template class ZELVAN_BASE_API SFieldOf<Rotation, SFRotationType>;
extern template class ZELVAN_BASE_API MFieldOf<Rotation, MFRotationType>;
extern template class ZELVAN_BASE_API SFieldOf<std::string, SFStringType>;
extern template class ZELVAN_BASE_API SFieldOf<double, SFTimeType>;
extern template class ZELVAN_BASE_API SFieldOf<osg::Vector<float, 2u>, SFVec2fType>;
extern template class ZELVAN_BASE_API MFieldOf<osg::Vector<float, 2u>, MFVec2fType>;
extern template class ZELVAN_BASE_API SFieldOf<osg::Vector<float, 3u>, SFVec3fType>;
extern template class ZELVAN_BASE_API MFieldOf<osg::Vector<float, 3u>, MFVec3fType>;

/// Texts: "true" and "false", also in capitals.
class ZELVAN_BASE_API SFBool : public SFieldOf<bool, SFBoolType> {
public:
    using SFieldOf::SFieldOf;
};
/// Red, green, blue; no range is enforced.
class ZELVAN_BASE_API SFColor : public SFieldOf<osg::Color3<float>, SFColorType> {
public:
    using SFieldOf::SFieldOf;
};
class ZELVAN_BASE_API MFColor : public MFieldOf<osg::Color3<float>, MFColorType> {
public:
    using MFieldOf::MFieldOf;
};
class ZELVAN_BASE_API SFFloat : public SFieldOf<float, SFFloatType> {
public:
    using SFieldOf::SFieldOf;
};
class ZELVAN_BASE_API MFFloat : public MFieldOf<float, MFFloatType> {
public:
    using MFieldOf::MFieldOf;
};
/// Texts: elements 0 to 15 in order, so a translation is the 13th to 15th number.
class ZELVAN_BASE_API SFMatrix4f : public SFieldOf<osg::TransformationMatrix<float>, SFMatrix4fType> {
public:
    using SFieldOf::SFieldOf;
};
class ZELVAN_BASE_API MFMatrix4f : public MFieldOf<osg::TransformationMatrix<float>, MFMatrix4fType> {
public:
    using MFieldOf::MFieldOf;
};
/// Texts: axis x, y, z and angle in radians. Binary form: all nine words.
class ZELVAN_BASE_API SFRotation : public SFieldOf<Rotation, SFRotationType> {
public:
    using SFieldOf::SFieldOf;
};
class ZELVAN_BASE_API MFRotation : public MFieldOf<Rotation, MFRotationType> {
public:
    using MFieldOf::MFieldOf;
};
/// Texts: the whole text as it stands.
class ZELVAN_BASE_API SFString : public SFieldOf<std::string, SFStringType> {
public:
    using SFieldOf::SFieldOf;
};
/// Seconds.
class ZELVAN_BASE_API SFTime : public SFieldOf<double, SFTimeType> {
public:
    using SFieldOf::SFieldOf;
};
class ZELVAN_BASE_API SFVec2f : public SFieldOf<osg::Vector<float, 2u>, SFVec2fType> {
public:
    using SFieldOf::SFieldOf;
};
class ZELVAN_BASE_API MFVec2f : public MFieldOf<osg::Vector<float, 2u>, MFVec2fType> {
public:
    using MFieldOf::MFieldOf;
};
class ZELVAN_BASE_API SFVec3f : public SFieldOf<osg::Vector<float, 3u>, SFVec3fType> {
public:
    using SFieldOf::SFieldOf;
};
class ZELVAN_BASE_API MFVec3f : public MFieldOf<osg::Vector<float, 3u>, MFVec3fType> {
public:
    using MFieldOf::MFieldOf;
};

} // namespace Zelvan
