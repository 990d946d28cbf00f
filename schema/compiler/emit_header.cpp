// The header of a module: records, functions, control classes, classes of objects, objects and sets.
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
        out_.line("#include \"schema/control.h\"");
        out_.line("#include \"schema/object_set.h\"");
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

    // The definition as it stands in the schema, with its place at the end of the first line.
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
        emitFunctions(type);
        emitControl(type);
        out_.line();
    }

    static std::string octetFields(std::uint32_t maxOctets) {
        // An array of no octets does not exist in C++.
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
        out_.line(name + "() = default;");
        out_.line("explicit " + name + "(ASN1C_" + type.name + "& control);");
        out_.line(name + "(const " + name + "&) = default; " + name + "& operator=(const " + name + "&) = default;");
        out_.line("~" + name + "() { if (getContext() != nullptr) schema::freeValue(getContext(), " + type.typeInfo +
                  ", this); }");
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

    void emitFunctions(const TypeLayout& type) {
        const std::string& name = type.functionName;
        const std::string record = "ASN1T_" + type.name;
        const std::string& info = type.typeInfo;
        out_.line("[[nodiscard]] inline int asn1E_" + name + "(ASN1CTXT* ctxt, " + record +
                  "* value, ASN1TagType tagType) { return schema::encodeValue(ctxt, " + info + ", value, tagType); }");
        out_.line("[[nodiscard]] inline int asn1D_" + name + "(ASN1CTXT* ctxt, " + record +
                  "* value, ASN1TagType tagType, int length) { return schema::decodeValue(ctxt, " + info +
                  ", value, tagType, length); }");
        out_.line("inline void asn1Copy_" + name + "(ASN1CTXT* ctxt, const " + record + "* source, " + record +
                  "* destination) { schema::copyValue(ctxt, " + info + ", source, destination); }");
        out_.line("inline void asn1Free_" + name + "(ASN1CTXT* ctxt, " + record +
                  "* value) { schema::freeValue(ctxt, " + info + ", value); }");
        if (type.table) {
            out_.line("[[nodiscard]] inline int asn1ETC_" + name + "(ASN1CTXT* ctxt, " + record +
                      "* value) { return schema::encodeTable(ctxt, " + type.shape + ", value); }");
            out_.line("[[nodiscard]] inline int asn1DTC_" + name + "(ASN1CTXT* ctxt, " + record +
                      "* value) { return schema::decodeTable(ctxt, " + type.shape + ", value); }");
        }
    }

    void emitControl(const TypeLayout& type) {
        if (type.form == TypeForm::Alias) {
            out_.line("class ASN1C_" + type.name + " : public ASN1C_" + type.aliasOf + " { using ASN1C_" +
                      type.aliasOf + "::ASN1C_" + type.aliasOf + "; };");
            return;
        }
        out_.line("class ASN1C_" + type.name + " : public schema::Control<" + type.controlBase + ", ASN1T_" +
                  type.name + ", " + type.typeInfo + "> { using Control::Control; };");
    }

    void emitClass(const ClassLayout& layout) {
        const std::string& name = layout.name;
        const std::string& what = layout.operation;
        comment("", layout.objectClass->span);
        out_.line("class " + name + " {");
        out_.line("public:");
        out_.indent();
        out_.line("ASN1TObjId id;");
        out_.line("virtual void* constructASN1T" + what + "(ASN1CTXT* ctxt) = 0;");
        out_.line("virtual ASN1CType* constructASN1C" + what + "(ASN1MessageBufferIF& buffer, void* record) = 0;");
        out_.line("virtual void destructASN1C" + what + "(ASN1CType* control) = 0;");
        out_.line("virtual ~" + name + "() = default;");
        out_.line("virtual int encodeBER" + what + "(ASN1CTXT* ctxt, Asn1TObject& object) = 0;");
        out_.line("virtual int decodeBER" + what + "(ASN1CTXT* ctxt, Asn1TObject& object) = 0;");
        out_.line("virtual void copy" + what + "(ASN1CTXT* ctxt, const Asn1TObject& from, Asn1TObject& to) = 0;");
        out_.line("virtual void free" + what + "(ASN1CTXT* ctxt, Asn1TObject& object) = 0;");
        out_.line();
        emitBridge(name, what);
        out_.line();
        out_.outdent();
        out_.line("protected:");
        out_.indent();
        out_.line("explicit " + name + "(const ASN1OBJID& key) : id(key) {}");
        out_.outdent();
        out_.line("};");
        emitClassTemplate(name, what);
        out_.line();
    }

    // What schema::kAccess calls, whatever the operations are named.
    void emitBridge(const std::string& name, const std::string& what) {
        out_.line("static int encodeValue(" + name +
                  "& self, ASN1CTXT* ctxt, Asn1TObject& object) { return self.encodeBER" + what + "(ctxt, object); }");
        out_.line("static int decodeValue(" + name +
                  "& self, ASN1CTXT* ctxt, Asn1TObject& object) { return self.decodeBER" + what + "(ctxt, object); }");
        out_.line("static void copyValue(" + name +
                  "& self, ASN1CTXT* ctxt, const Asn1TObject& from, Asn1TObject& to) { self.copy" + what +
                  "(ctxt, from, to); }");
        out_.line("static void freeValue(" + name + "& self, ASN1CTXT* ctxt, Asn1TObject& object) { self.free" + what +
                  "(ctxt, object); }");
    }

    void emitClassTemplate(const std::string& name, const std::string& what) {
        out_.line("template <class Value>");
        out_.line("class " + name + "_of : public " + name + " {");
        out_.line("public:");
        out_.indent();
        // Defined in sources, as those of objects: an inline one would draw in all operations, where the type of the
        // value is only named.
        out_.line("~" + name + "_of() override;");
        out_.line("void* constructASN1T" + what + "(ASN1CTXT* ctxt) override { return Value::construct(ctxt); }");
        out_.line("ASN1CType* constructASN1C" + what +
                  "(ASN1MessageBufferIF& buffer, void* record) override { return Value::constructControl(buffer, "
                  "record); }");
        out_.line("void destructASN1C" + what + "(ASN1CType* control) override { Value::destructControl(control); }");
        out_.line("int encodeBER" + what +
                  "(ASN1CTXT* ctxt, Asn1TObject& object) override { return Value::encode(ctxt, object); }");
        out_.line("int decodeBER" + what +
                  "(ASN1CTXT* ctxt, Asn1TObject& object) override { return Value::decode(ctxt, object); }");
        out_.line("void copy" + what +
                  "(ASN1CTXT* ctxt, const Asn1TObject& from, Asn1TObject& to) override { Value::copy(ctxt, from, "
                  "to); }");
        out_.line("void free" + what + "(ASN1CTXT* ctxt, Asn1TObject& object) override { Value::free(ctxt, object); }");
        out_.line();
        out_.outdent();
        out_.line("protected:");
        out_.indent();
        out_.line("using " + name + "::" + name + ";");
        out_.outdent();
        out_.line("};");
    }

    void emitObject(const ObjectLayout& object) {
        comment("", object.object->span);
        out_.line("class " + object.name + " : public " + object.className + "_of<" + object.value +
                  "> { public: " + object.name + "(); ~" + object.name + "() override; };");
        out_.line();
    }

    void emitSet(const SetLayout& set) {
        comment("", set.set->span);
        out_.line("class " + set.name + " : public schema::ObjectSet<" + set.className + ", " +
                  std::to_string(set.objects.size()) + "> {");
        out_.line("public:");
        out_.indent();
        out_.line("static " + set.name + "* instance(ASN1CTXT* ctxt);");
        out_.line("static " + set.name + "* mpInstance;");
        out_.line();
        out_.outdent();
        out_.line("private:");
        out_.indent();
        out_.line("friend void " + set.name + "Once();");
        out_.outdent();
        out_.line("};");
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
