// Emits the sources of a module: member tables, table constraints, TypeInfos, objects and sets.
#include <cstdio>
#include <set>
#include <string>
#include <utility>

#include "schema/compiler/emit.h"
#include "schema/compiler/text_writer.h"

namespace schemac {
namespace {

std::string hex(std::uint32_t value) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", value);
    return text;
}

// "{.a = 1, .b = 2}"
class Initializer {
public:
    void add(const std::string& field, const std::string& value) {
        text_ += (text_.empty() ? "." : ", .") + field + " = " + value;
    }
    bool isEmpty() const { return text_.empty(); }
    std::string text() const { return "{" + text_ + "}"; }

private:
    std::string text_;
};

std::string memberEntry(const MemberLayout& member, const std::string& offset) {
    Initializer entry;
    entry.add("kind", "Kind::" + member.kind);
    std::string flags;
    for (const std::string& flag : member.flags) {
        flags += (flags.empty() ? "" : " | ") + flag;
    }
    if (!flags.empty()) {
        entry.add("flags", flags);
    }
    if (member.bit) {
        entry.add("bit", std::to_string(*member.bit));
    }
    if (member.universal != 0) {
        entry.add("universal", std::to_string(member.universal));
    }
    if (member.tag != 0) {
        entry.add("tag", hex(member.tag));
    }
    if (!offset.empty()) {
        entry.add("offset", offset);
    }
    if (member.lower.value_or(0) != 0) {
        entry.add("lower", std::to_string(*member.lower) + "u");
    }
    if (member.upper.value_or(SizeBounds::kNone) != SizeBounds::kNone) {
        entry.add("upper", std::to_string(*member.upper) + "u");
    }
    if (!member.typeInfo.empty()) {
        entry.add("type", "&" + member.typeInfo);
    }
    if (!member.path.empty()) {
        entry.add("path", "\"" + member.path + "\"");
    }
    return entry.text();
}

// Collects chunks of lines; each chunk must stay in one source.
class SourceEmitter {
public:
    explicit SourceEmitter(const ModuleLayout& module) : module_(module) {}

    std::vector<TextWriter> chunks() {
        for (const TypeLayout& type : module_.types) {
            if (type.form != TypeForm::Alias) {
                chunk([&] { emitType(type); });
            }
        }
        if (!module_.objects.empty()) {
            chunk([&] { emitObjects(); });
        }
        for (const SetLayout& set : module_.sets) {
            chunk([&] { emitSet(set); });
        }
        return std::move(chunks_);
    }

private:
    template <class Body>
    void chunk(Body body) {
        out_ = TextWriter();
        body();
        out_.line();
        chunks_.push_back(std::move(out_));
    }

    void emitType(const TypeLayout& type) {
        if (!type.members.empty()) {
            out_.line("static constexpr MemberInfo kMembers_" + type.name + "[] = {");
            out_.indent();
            for (const MemberLayout& member : type.members) {
                const std::string offset = offsetOf(type, member);
                const bool isNamed = !offset.empty() || member.name.empty();
                out_.line((isNamed ? "" : "/* " + member.name + " */ ") + memberEntry(member, offset) + ",");
            }
            out_.outdent();
            out_.line("};");
        }
        if (type.table) {
            emitTable(type);
        }
        if (type.tag) {
            emitTag(type);
        }
        if (!type.tag || type.kind != "Tagged") {
            out_.line("const TypeInfo " + type.shape + " = " + typeInfo(type) + ";");
        }
    }

    static std::string offsetOf(const TypeLayout& type, const MemberLayout& member) {
        const bool isField = type.form == TypeForm::Record || type.form == TypeForm::Choice;
        if (!isField || member.cppType.empty()) {
            return "";
        }
        const std::string prefix = type.form == TypeForm::Choice ? "u." : "";
        return "offsetof(ASN1T_" + type.name + ", " + prefix + member.name + ")";
    }

    void emitTable(const TypeLayout& type) {
        const TableLayout& table = *type.table;
        const std::string record = "offsetof(ASN1T_" + type.name + ", ";
        Initializer info;
        info.add("set", "&kAccess<" + table.setName + ", " + table.className + ">");
        info.add("keyOffset", record + table.keyMember + ")");
        info.add("rawOffset", record + table.rawMember + ")");
        info.add("objectOffset", table.objectMember.empty() ? "0" : record + table.objectMember + ")");
        if (table.objectMember.empty()) {
            info.add("isList", "true");
        }
        if (table.anyString) {
            info.add("anyString", "true");
        }
        out_.line("static constexpr TableInfo kTable_" + type.name + " = " + info.text() + ";");
    }

    void emitTag(const TypeLayout& type) {
        out_.line("static constexpr MemberInfo kTag_" + type.name + "[] = {" + memberEntry(*type.tag, "") + "};");
        out_.line("const TypeInfo kType_" + type.name + " = describe<ASN1T_" + type.name + ">(Kind::Tagged, kTag_" +
                  type.name + ");");
    }

    static std::string typeInfo(const TypeLayout& type) {
        Initializer traits;
        if (type.type->isRawIfTooBig) {
            traits.add("rawIfTooBig", "true");
        }
        if (type.lower || type.upper) {
            traits.add("bounded", "true");
        }
        if (type.lower.value_or(0) != 0) {
            traits.add("lower", std::to_string(*type.lower) + "u");
        }
        if (type.upper.value_or(SizeBounds::kNone) != SizeBounds::kNone) {
            traits.add("upper", std::to_string(*type.upper) + "u");
        }
        if (type.numBeforeAdditions) {
            traits.add("numBeforeAdditions", std::to_string(*type.numBeforeAdditions));
        }
        if (type.table) {
            traits.add("table", "&kTable_" + type.name);
        }
        return "describe<ASN1T_" + type.name + ">(Kind::" + type.kind +
               (type.members.empty() ? "" : ", kMembers_" + type.name) +
               (traits.isEmpty() ? "" : ", " + traits.text()) + ")";
    }

    void emitObjects() {
        std::set<std::string> classes;
        for (const ObjectLayout& object : module_.objects) {
            if (classes.insert(object.className).second) {
                out_.line("template <class Value>");
                emitDestructor(object.className + "_of", "<Value>");
            }
            out_.line(object.name + "::" + object.name + "() : " + object.className + "_of(" + object.key + ") {}");
            emitDestructor(object.name, "");
        }
    }

    void emitDestructor(const std::string& name, const char* arguments) {
        out_.line(name + arguments + "::~" + name + "() = default;");
    }

    void emitSet(const SetLayout& set) {
        const std::string& name = set.name;
        out_.line(name + "* " + name + "::mpInstance = nullptr;");
        out_.line("static pthread_once_t once" + name + " = PTHREAD_ONCE_INIT;");
        out_.line("void " + name + "Once() {");
        out_.indent();
        out_.line("auto* set = new " + name + ";");
        for (std::size_t i = 0; i < set.objects.size(); ++i) {
            out_.line("set->mObjects[" + std::to_string(i) + "] = new " + set.objects[i] + ";");
        }
        out_.line(name + "::mpInstance = set;");
        out_.outdent();
        out_.line("}");
        out_.line(name + "* " + name + "::instance(ASN1CTXT* /*ctxt*/) {");
        out_.indent();
        out_.line("pthread_once(&once" + name + ", " + name + "Once);");
        out_.line("return mpInstance;");
        out_.outdent();
        out_.line("}");
    }

    const ModuleLayout& module_;
    TextWriter out_;
    std::vector<TextWriter> chunks_;
};

std::string heading(const ModuleLayout& module) {
    TextWriter out;
    out.line("// " + std::string(module.module->name.text) + ": generated from " + module.stem +
             ".asn1; changes made here are lost.");
    out.line("#include \"schema/generated/" + module.stem + ".h\"");
    out.line();
    out.line("#include \"schema/describe.h\"");
    out.line("#include \"schema/generated/identifiers.h\"");
    for (const std::string& stem : module.sourceIncludes) {
        out.line("#include \"schema/generated/" + stem + ".h\"");
    }
    out.line();
    out.line("// clang-format off");
    out.line("namespace asn1data {");
    out.line();
    out.line("using namespace schema;");
    out.line();
    return out.text();
}

}  // namespace

std::vector<std::string> emitSources(const ModuleLayout& module, std::size_t numParts) {
    const std::vector<TextWriter> chunks = SourceEmitter(module).chunks();
    std::size_t numLines = 0;
    for (const TextWriter& chunk : chunks) {
        numLines += chunk.numLines();
    }
    std::vector<std::string> parts(numParts, heading(module));
    std::size_t numWritten = 0;
    for (const TextWriter& chunk : chunks) {
        const std::size_t part = numLines == 0 ? 0 : numWritten * numParts / numLines;
        parts[part] += chunk.text();
        numWritten += chunk.numLines();
    }
    for (std::string& part : parts) {
        part += "}  // namespace asn1data\n";
    }
    return parts;
}

}  // namespace schemac
