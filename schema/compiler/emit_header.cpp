// Emits the header of a module: records, functions, control classes, object classes, objects and sets.
#include <algorithm>
#include <string>

#include "schema/compiler/emit.h"
#include "schema/compiler/text_writer.h"

namespace schemac {
namespace {

class HeaderEmitter {
public:
    HeaderEmitter(const ModuleLayout& module, const Sources& sources) : module_(module), sources_(sources) {}

    std::string run() {
        out_.line("// " + std::string(module_.module->name.text) + ": generated from " + module_.stem +
                  ".asn1; changes made here are lost.");
        out_.line("#pragma once");
        out_.line();
        out_.line("#include \"schema/declare.h\"");
        for (const std::string& stem : module_.headerIncludes) {
            out_.line("#include \"schema/generated/" + stem + ".h\"");
        }
        out_.line();
        out_.line("// clang-format off");
        out_.line("namespace asn1data {");
        out_.line();
        declareAhead();
        for (const ClassLayout& objectClass : module_.classes) {
            emitClass(objectClass);
        }
        for (const TypeLayout& type : module_.types) {
            emitType(type);
        }
        for (const ObjectLayout& object : module_.objects) {
            emitObject(object);
        }
        for (const SetLayout& set : module_.sets) {
            emitSet(set);
        }
        out_.line("}  // namespace asn1data");
        return out_.text();
    }

private:
    void declareAhead() {
        for (const std::string& name : module_.foreignStructs) {
            out_.line("struct " + name + ";");
        }
        for (const std::string& name : module_.foreignValues) {
            declareValue(name);
        }
        for (const TypeLayout& type : module_.types) {
            std::string line;
            if (type.hasStruct() || type.form == TypeForm::Octets) {
                line = "struct ASN1T_" + type.name + "; class ASN1C_" + type.name + "; ";
            }
            if (type.form != TypeForm::Alias) {
                line += "extern const schema::TypeInfo kType_" + type.name;
                line += type.shape != "kType_" + type.name ? ", " + type.shape + ";" : ";";
            }
            if (!line.empty()) {
                out_.line(line);
            }
        }
        out_.line();
    }

    void declareValue(const std::string& name) {
        out_.line("struct ASN1T_" + name + "; class ASN1C_" + name + "; extern const schema::TypeInfo kType_" + name +
                  ";");
    }

    // The ASN.1 definition, with its source position at the end of the first line.
    void comment(std::string_view lead, Span span) {
        const std::string place =
            "  [" + sources_.stem(span.file) + ".asn1:" + std::to_string(sources_.position(span).line) + "]";
        std::string text = std::string(lead) + std::string(sources_.text(span));
        text.insert(std::min(text.find('\n'), text.size()), place);
        out_.comment(text);
    }

    void emitType(const TypeLayout& type) {
        comment(type.type->isLifted ? type.name + " ::= " : "", type.type->span);
        switch (type.form) {
            case TypeForm::Plain:
                out_.line("using ASN1T_" + type.name + " = " + type.cppType + ";");
                break;
            case TypeForm::Octets:
                out_.line("struct ASN1T_" + type.name + " { " + octetFields(type.maxOctets) + " };");
                break;
            case TypeForm::LiftedList:
                out_.line("using ASN1T_" + type.name + " = ASN1TSeqOfList;  // of " + type.elementName);
                break;
            case TypeForm::Alias:
                out_.line("using ASN1T_" + type.name + " = ASN1T_" + type.aliasOf + ";");
                break;
            default:
                emitStruct(type);
        }
        emitNamedNumbers(type);
        emitArtefacts(type);
        out_.line();
    }

    static std::string octetFields(std::uint32_t maxOctets) {
        // C++ has no empty arrays.
        return "std::uint32_t numocts = 0; std::uint8_t data[" + std::to_string(maxOctets == 0 ? 1 : maxOctets) +
               "] = {};";
    }

    void emitStruct(const TypeLayout& type) {
        const std::string name = "ASN1T_" + type.name;
        const bool isList = type.form == TypeForm::List;
        out_.line("struct " + name + " : " + (isList ? "ASN1TPDUSeqOfList" : "ASN1TPDU") + " {" +
                  (isList ? "  // of " + type.elementName : ""));
        out_.indent();
        for (const MemberLayout& member : type.members) {
            if (!member.octetsStruct.empty()) {
                out_.line("struct " + member.octetsStruct + " { " + octetFields(member.maxOctets) + " };");
            }
        }
        if (type.form == TypeForm::Record) {
            emitFields(type);
        } else if (type.form == TypeForm::Choice) {
            emitUnion(type);
        } else if (type.form == TypeForm::Array) {
            out_.line("std::uint32_t n = 0;");
            out_.line(type.cppType + "* elem = nullptr;");
        }
        out_.line("SCHEMA_SPECIAL_MEMBERS(" + type.name + ")");
        out_.outdent();
        out_.line("};");
    }

    void emitFields(const TypeLayout& type) {
        if (!type.presenceBits.empty()) {
            std::string bits;
            for (const std::string& bit : type.presenceBits) {
                bits += (bits.empty() ? "unsigned " : ", ") + bit + " : 1";
            }
            out_.line("struct { " + bits + "; } m = {};");
        }
        for (const MemberLayout& member : type.members) {
            if (!member.cppType.empty()) {
                out_.line(member.cppType + " " + member.name + member.initializer + ";");
            }
        }
        if (type.table && !type.table->objectMember.empty()) {
            out_.line("Asn1TObject " + type.table->objectMember + ";");
        }
        if (type.numBeforeAdditions) {
            out_.line("ASN1TSeqOfList extensionAdditions;  // of ASN1TOpenType");
        }
    }

    void emitUnion(const TypeLayout& type) {
        std::string numbers;
        for (std::size_t i = 0; i < type.members.size(); ++i) {
            numbers += (i == 0 ? "T_" : ", T_") + type.members[i].name + " = " + std::to_string(i + 1);
        }
        out_.line("enum : std::uint32_t { " + numbers + " };");
        out_.line("std::uint32_t t = 0;");
        out_.line("union {");
        out_.indent();
        bool isFirst = true;
        for (std::size_t i = 0; i < type.members.size(); ++i) {
            const MemberLayout& member = type.members[i];
            if (!member.cppType.empty()) {
                out_.line(member.cppType + " " + member.name + (isFirst ? member.initializer : "") +
                          ";  // t = " + std::to_string(i + 1));
                isFirst = false;
            }
        }
        if (isFirst) {
            out_.line("void* nothing = nullptr;  // no alternative holds a value");
        }
        out_.outdent();
        out_.line("} u;");
    }

    void emitNamedNumbers(const TypeLayout& type) {
        if (type.type->named.empty()) {
            return;
        }
        std::string numbers;
        bool isUnsigned = true;
        for (const NamedNumber& number : type.type->named) {
            isUnsigned = isUnsigned && number.value >= 0 && number.value <= 0xFFFFFFFFLL;
            std::string name(number.name.text);
            for (char& c : name) {
                c = c == '-' ? '_' : c;
            }
            numbers += (numbers.empty() ? "" : ", ") + type.name + "_" + name + " = " + std::to_string(number.value);
        }
        out_.line(std::string("enum : ") + (isUnsigned ? "std::uint32_t" : "std::int64_t") + " { " + numbers + " };");
    }

    void emitArtefacts(const TypeLayout& type) {
        const std::string base = "(" + type.name + ", " + type.controlBase + ")";
        if (type.form == TypeForm::Alias) {
            out_.line("SCHEMA_ALIAS(" + type.functionName + ", " + type.name + ", " + type.aliasOf + ", " +
                      type.typeInfo + ")");
        } else if (type.hasStruct()) {
            out_.line("SCHEMA_RECORD" + base);
        } else {
            out_.line((type.functionName == type.name ? "SCHEMA_PLAIN" : "SCHEMA_NULL") + base);
        }
        if (type.table) {
            out_.line("SCHEMA_TABLE_FUNCTIONS(" + type.name + ", " + type.shape + ")");
        }
    }

    void emitClass(const ClassLayout& layout) {
        comment("", layout.objectClass->span);
        out_.line("SCHEMA_OBJECT_CLASS(" + layout.name + ", " + layout.operation + ")");
        out_.line();
    }

    void emitObject(const ObjectLayout& object) {
        comment("", object.object->span);
        out_.line("SCHEMA_OBJECT(" + object.name + ", " + object.className + ", " + object.value + ")");
        out_.line();
    }

    void emitSet(const SetLayout& set) {
        comment("", set.set->span);
        out_.line("SCHEMA_OBJECT_SET(" + set.name + ", " + set.className + ", " + std::to_string(set.objects.size()) +
                  ")");
        out_.line();
    }

    const ModuleLayout& module_;
    const Sources& sources_;
    TextWriter out_;
};

}  // namespace

std::string emitHeader(const ModuleLayout& module, const Sources& sources) {
    return HeaderEmitter(module, sources).run();
}

}  // namespace schemac
