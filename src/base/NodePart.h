#pragma once

#include "base/BitVector.h"
#include "base/Export.h"

namespace Zelvan {

/// How a field may be used: 1 initialise, 2 take events, 4 send events; inputOutput is all three.
enum NodePartType : unsigned { initializeOnly = 1, inputOnly = 2, outputOnly = 4, inputOutput = 7 };

/// Value types of fields: the X3D field types in alphabetical order, each SF directly before its MF.
enum NodePartDataType : unsigned {
    SFBoolType = 1,
    SFColorType = 3,
    MFColorType = 4,
    SFFloatType = 9,
    MFFloatType = 10,
    SFMatrix4fType = 21,
    MFMatrix4fType = 22,
    SFRotationType = 25,
    MFRotationType = 26,
    SFStringType = 27,
    SFTimeType = 29,
    SFVec2fType = 33,
    MFVec2fType = 34,
    SFVec3fType = 37,
    MFVec3fType = 38
};

/// "SFFloat" for SFFloatType; "unknown" for a code without a name.
ZELVAN_BASE_API char const* dataTypeName(NodePartDataType type);
/// "inputOutput" for inputOutput; "unknown" for anything else than the four access kinds.
ZELVAN_BASE_API char const* accessName(NodePartType type);

class ZELVAN_BASE_API NodePart {
public:
    /// Mask of a field that has no description: no bit at all.
    static BitVector<unsigned long> const _nullMask;
};

/// Static description of one field of a node type.
class ZELVAN_BASE_API NodePartDesc {
public:
    /// Send an inputOutput field's changes on even when its own node caused them.
    static constexpr unsigned flagSendAlways = 8;

    /// `mask` is 1 << index. `defaultValue` is a text for the field, null for the type's own default;
    /// `allowedValues` a comma-separated list, null for no restriction. `hint` and `reserved` are unused.
    NodePartDesc(unsigned index, BitVector<unsigned long> mask, NodePartType type, NodePartDataType dataType, unsigned flags,
                 char const* name, char const* hint, char const* defaultValue, char const* allowedValues,
                 char const* description, unsigned reserved);
    virtual ~NodePartDesc();

    unsigned _index;
    BitVector<unsigned long> _mask;
    NodePartType _type;
    NodePartDataType _dataType;
    unsigned _flags;
    char const* _name;
    char const* _hint;
    char const* _defaultValue;
    char const* _allowedValues;
    char const* _description;
    unsigned _reserved;
};

} // namespace Zelvan
