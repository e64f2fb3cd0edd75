#pragma once

#include <algorithm>
#include <pugixml.hpp>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Zelvan::play::test {

/// An X3D scene in ClassicVRML, as an author would write it: nodes, routes, PROTOs and EXTERNPROTOs.
class ClassicForm {
public:
    static std::string of(std::string const& xml)
    {
        pugi::xml_document document;
        if (!document.load_buffer(xml.data(), xml.size(), pugi::parse_default | pugi::parse_ws_pcdata_single))
            throw std::logic_error("no XML");
        ClassicForm form;
        pugi::xml_node const x3d = document.child("X3D");
        form._text = std::string("#X3D V") + x3d.attribute("version").value() + " utf8\nPROFILE "
            + x3d.attribute("profile").value() + "\n";
        for (pugi::xml_node const meta : x3d.child("head").children("meta"))
            form._text +=
                "META " + quoted(meta.attribute("name").value()) + ' ' + quoted(meta.attribute("content").value()) + '\n';
        for (pugi::xml_node const child : x3d.child("Scene").children())
            form.statement(child);
        return form._text;
    }

private:
    static std::string quoted(std::string_view value)
    {
        std::string text = "\"";
        for (char const c : value)
            text += c == '"' || c == '\\' ? std::string{'\\', c} : std::string{c};
        return text + '"';
    }
    // What a value looks like says how it is written; of lists of numbers the name of the field does.
    static std::string written(std::string_view field, std::string const& value)
    {
        static std::set<std::string_view> const lists = {
            "key",   "keyValue", "easeInEaseOut", "keyVelocity", "point",       "vector", "coordIndex",
            "color", "spine",    "crossSection",  "scale",       "orientation", "height", "skyColor",
        };
        if (value == "true" || value == "false")
            return value == "true" ? "TRUE" : "FALSE";
        auto const first = value.find_first_not_of(" \t\n");
        if (first != std::string::npos && value[first] == '"')
            return '[' + value + ']';
        bool const numbers = first != std::string::npos
            && value.find_first_not_of("0123456789+-.eExXabcdfABCDF, \t\n") == std::string::npos
            && std::string_view("+-.0123456789").find(value[first]) != std::string_view::npos;
        if (!numbers)
            return quoted(value);
        auto const count = std::ranges::count_if(value, [](char c) { return c == ' ' || c == ','; }) + 1;
        return lists.contains(field) && (count > 4 || field.starts_with("key")) ? '[' + value + ']' : value;
    }

    void interface(pugi::xml_node fields)
    {
        _text += " [\n";
        for (pugi::xml_node const field : fields.children("field")) {
            _text += std::string(field.attribute("accessType").value()) + ' ' + field.attribute("type").value() + ' '
                + field.attribute("name").value();
            if (field.attribute("value"))
                _text += ' ' + written("", field.attribute("value").value());
            _text += '\n';
        }
        _text += "]";
    }

    void statement(pugi::xml_node element)
    {
        std::string_view const name = element.name();
        auto const of = [&](char const* attribute) { return std::string(element.attribute(attribute).value()); };
        if (name == "ROUTE") {
            _text += "ROUTE " + of("fromNode") + '.' + of("fromField") + " TO " + of("toNode") + '.' + of("toField") + '\n';
        } else if (name == "ProtoDeclare") {
            _text += "PROTO " + of("name");
            interface(element.child("ProtoInterface"));
            _text += "\n{\n";
            for (pugi::xml_node const child : element.child("ProtoBody").children())
                statement(child);
            _text += "}\n";
        } else if (name == "ExternProtoDeclare") {
            _text += "EXTERNPROTO " + of("name");
            interface(element);
            _text += ' ' + written("url", of("url")) + '\n';
        } else if (element.type() == pugi::node_element) {
            node(element);
        }
    }

    void node(pugi::xml_node element)
    {
        if (pugi::xml_attribute const use = element.attribute("USE")) {
            _text += std::string("USE ") + use.value() + '\n';
            return;
        }
        bool const instance = element.name() == std::string_view("ProtoInstance");
        if (pugi::xml_attribute const def = element.attribute("DEF"))
            _text += std::string("DEF ") + def.value() + ' ';
        _text += std::string(instance ? element.attribute("name").value() : element.name()) + " {\n";
        for (pugi::xml_attribute const attribute : element.attributes())
            if (std::string_view const name = attribute.name();
                name != "DEF" && name != "containerField" && !(instance && name == "name"))
                _text += std::string(name) + ' ' + written(name, attribute.value()) + '\n';
        std::vector<std::string> fields; // that hold nodes, in their order
        for (pugi::xml_node const child : element.children()) {
            std::string_view const name = child.name();
            if (name == "fieldValue")
                _text +=
                    std::string(child.attribute("name").value()) + ' ' + written("", child.attribute("value").value()) + '\n';
            else if (name == "IS")
                for (pugi::xml_node const connect : child.children("connect"))
                    _text += std::string(connect.attribute("nodeField").value()) + " IS "
                        + connect.attribute("protoField").value() + '\n';
            else if (child.type() == pugi::node_element && std::ranges::find(fields, containerOf(child)) == fields.end())
                fields.push_back(containerOf(child));
        }
        for (std::string const& field : fields) {
            bool const many = field == "children" || field == "value";
            _text += field + (many ? " [\n" : " ");
            for (pugi::xml_node const child : element.children())
                if (child.type() == pugi::node_element && containerOf(child) == field)
                    statement(child);
            _text += many ? "]\n" : "";
        }
        _text += "}\n";
    }

    static std::string containerOf(pugi::xml_node element)
    {
        std::string_view const name = element.name();
        if (name == "fieldValue" || name == "IS")
            return "";
        if (pugi::xml_attribute const container = element.attribute("containerField"))
            return container.value();
        static std::set<std::string_view> const geometries = {
            "Box", "Sphere", "Cylinder", "Cone", "Circle2D", "IndexedFaceSet", "PointSet", "ElevationGrid", "Extrusion",
        };
        if (geometries.contains(name))
            return "geometry";
        if (name.ends_with("Texture"))
            return "texture";
        if (name.starts_with("Metadata"))
            return std::string_view(element.parent().name()) == "MetadataSet" ? "value" : "metadata";
        for (auto const& [type, field] : {std::pair{"Appearance", "appearance"},
                                          {"Material", "material"},
                                          {"Coordinate", "coord"},
                                          {"Normal", "normal"},
                                          {"Color", "color"},
                                          {"TextureTransform", "textureTransform"},
                                          {"LineProperties", "lineProperties"},
                                          {"PointProperties", "pointProperties"}})
            if (name == type)
                return field;
        return "children";
    }

    std::string _text;
};

} // namespace Zelvan::play::test
