#include "base/NodePart.h"

namespace Zelvan {

BitVector<unsigned long> const NodePart::_nullMask;

// NOLINTNEXTLINE(performance-unnecessary-value-param): plug-ins call it so
NodePartDesc::NodePartDesc(unsigned index, BitVector<unsigned long> mask, NodePartType type, NodePartDataType dataType,
                           unsigned flags, char const* name, char const* hint, char const* defaultValue,
                           char const* allowedValues, char const* description, unsigned reserved)
    : _index(index),
      _mask(mask),
      _type(type),
      _dataType(dataType),
      _flags(flags),
      _name(name),
      _hint(hint),
      _defaultValue(defaultValue),
      _allowedValues(allowedValues),
      _description(description),
      _reserved(reserved)
{}

NodePartDesc::~NodePartDesc() = default;

char const* dataTypeName(NodePartDataType type)
{
    switch (type) {
    case SFBoolType: return "SFBool";
    case SFColorType: return "SFColor";
    case MFColorType: return "MFColor";
    case SFFloatType: return "SFFloat";
    case MFFloatType: return "MFFloat";
    case SFMatrix4fType: return "SFMatrix4f";
    case MFMatrix4fType: return "MFMatrix4f";
    case SFRotationType: return "SFRotation";
    case MFRotationType: return "MFRotation";
    case SFStringType: return "SFString";
    case SFTimeType: return "SFTime";
    case SFVec2fType: return "SFVec2f";
    case MFVec2fType: return "MFVec2f";
    case SFVec3fType: return "SFVec3f";
    case MFVec3fType: return "MFVec3f";
    }
    return "unknown";
}

char const* accessName(NodePartType type)
{
    switch (type) {
    case initializeOnly: return "initializeOnly";
    case inputOnly: return "inputOnly";
    case outputOnly: return "outputOnly";
    case inputOutput: return "inputOutput";
    }
    return "unknown";
}

} // namespace Zelvan
