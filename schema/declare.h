// The parts of generated headers that are the same for all types and for all object classes.
//
// These are macros because the fixed names (asn1E_T, constructASN1TExtnType) contain the name of the type or of the
// class's field, and only the preprocessor can compose a name:
//
//     struct ASN1T_CertID : ASN1TPDU {
//         ASN1T_AlgorithmIdentifier hashAlgorithm;
//         ...
//         SCHEMA_SPECIAL_MEMBERS(CertID)
//     };
//     SCHEMA_RECORD(CertID, schema::RecordBase)
//
// Each use takes one line of a generated header, below the ASN.1 definition of its type.
#pragma once

#include "schema/control.h"
#include "schema/object_set.h"

/// Constructors, assignment and destructor of a record. A record that holds a context owns its members.
#define SCHEMA_SPECIAL_MEMBERS(name)                             \
    ASN1T_##name() = default;                                    \
    explicit ASN1T_##name(ASN1C_##name& control);                \
    ASN1T_##name(const ASN1T_##name&) = default;                 \
    ASN1T_##name& operator=(const ASN1T_##name&) = default;      \
    ~ASN1T_##name() {                                            \
        if (getContext() != nullptr) {                           \
            schema::freeValue(getContext(), kType_##name, this); \
        }                                                        \
    }

/// The four functions on values of one type. `function` is the name after asn1E_, `info` the table of the type.
#define SCHEMA_FUNCTIONS(function, name, info)                                                                        \
    [[nodiscard]] inline int asn1E_##function(ASN1CTXT* ctxt, ASN1T_##name* value, ASN1TagType tagType) {             \
        return schema::encodeValue(ctxt, info, value, tagType);                                                       \
    }                                                                                                                 \
    [[nodiscard]] inline int asn1D_##function(ASN1CTXT* ctxt, ASN1T_##name* value, ASN1TagType tagType, int length) { \
        return schema::decodeValue(ctxt, info, value, tagType, length);                                               \
    }                                                                                                                 \
    inline void asn1Copy_##function(ASN1CTXT* ctxt, const ASN1T_##name* source, ASN1T_##name* destination) {          \
        schema::copyValue(ctxt, info, source, destination);                                                           \
    }                                                                                                                 \
    inline void asn1Free_##function(ASN1CTXT* ctxt, ASN1T_##name* value) {                                            \
        schema::freeValue(ctxt, info, value);                                                                         \
    }

/// The two functions on the open values of a type with a table constraint. `info` describes the record without a tag.
#define SCHEMA_TABLE_FUNCTIONS(name, info)                                         \
    [[nodiscard]] inline int asn1ETC_##name(ASN1CTXT* ctxt, ASN1T_##name* value) { \
        return schema::encodeTable(ctxt, info, value);                             \
    }                                                                              \
    [[nodiscard]] inline int asn1DTC_##name(ASN1CTXT* ctxt, ASN1T_##name* value) { \
        return schema::decodeTable(ctxt, info, value);                             \
    }

/// The control class of a type, over the base that its kind or the schema names.
#define SCHEMA_CONTROL(name, ...)                                                          \
    class ASN1C_##name : public schema::Control<__VA_ARGS__, ASN1T_##name, kType_##name> { \
        using Control::Control;                                                            \
    };

/// A type whose value is a plain C++ type: functions and control class.
#define SCHEMA_PLAIN(name, ...)                \
    SCHEMA_FUNCTIONS(name, name, kType_##name) \
    SCHEMA_CONTROL(name, __VA_ARGS__)

/// The same for a NULL type, whose functions end in "_".
#define SCHEMA_NULL(name, ...)                    \
    SCHEMA_FUNCTIONS(name##_, name, kType_##name) \
    SCHEMA_CONTROL(name, __VA_ARGS__)

/// A type with a record of its own: functions, control class, and the record's copy of a control object.
#define SCHEMA_RECORD(name, ...)                                                 \
    SCHEMA_PLAIN(name, __VA_ARGS__)                                              \
    inline ASN1T_##name::ASN1T_##name(ASN1C_##name& control) {                   \
        schema::copyFromControl(*this, kType_##name, control, &control.msgData); \
    }

/// A second name for a type. `info` is the table of the type at the end of such names.
#define SCHEMA_ALIAS(function, name, target, info) \
    SCHEMA_FUNCTIONS(function, name, info)         \
    class ASN1C_##name : public ASN1C_##target {   \
        using ASN1C_##target::ASN1C_##target;      \
    };

// Names of classes cannot stand in parentheses. NOLINTBEGIN(bugprone-macro-parentheses)

/// A class of information objects whose type field is called `Field`: the abstract class, the functions that
/// schema::kAccess calls, and the template of its objects. The destructors of the template and of the objects are
/// defined in sources: inline ones would instantiate all operations where only the name of the value's type is known.
#define SCHEMA_OBJECT_CLASS(name, Field)                                                                           \
    class name {                                                                                                   \
    public:                                                                                                        \
        ASN1TObjId id;                                                                                             \
        virtual void* constructASN1T##Field(ASN1CTXT* ctxt) = 0;                                                   \
        virtual ASN1CType* constructASN1C##Field(ASN1MessageBufferIF& buffer, void* record) = 0;                   \
        virtual void destructASN1C##Field(ASN1CType* control) = 0;                                                 \
        virtual ~name() = default;                                                                                 \
        virtual int encodeBER##Field(ASN1CTXT* ctxt, Asn1TObject& object) = 0;                                     \
        virtual int decodeBER##Field(ASN1CTXT* ctxt, Asn1TObject& object) = 0;                                     \
        virtual void copy##Field(ASN1CTXT* ctxt, const Asn1TObject& from, Asn1TObject& to) = 0;                    \
        virtual void free##Field(ASN1CTXT* ctxt, Asn1TObject& object) = 0;                                         \
                                                                                                                   \
        static int encodeValue(name& self, ASN1CTXT* ctxt, Asn1TObject& object) {                                  \
            return self.encodeBER##Field(ctxt, object);                                                            \
        }                                                                                                          \
        static int decodeValue(name& self, ASN1CTXT* ctxt, Asn1TObject& object) {                                  \
            return self.decodeBER##Field(ctxt, object);                                                            \
        }                                                                                                          \
        static void copyValue(name& self, ASN1CTXT* ctxt, const Asn1TObject& from, Asn1TObject& to) {              \
            self.copy##Field(ctxt, from, to);                                                                      \
        }                                                                                                          \
        static void freeValue(name& self, ASN1CTXT* ctxt, Asn1TObject& object) { self.free##Field(ctxt, object); } \
                                                                                                                   \
    protected:                                                                                                     \
        explicit name(const ASN1OBJID& key) : id(key) {}                                                           \
    };                                                                                                             \
    template <class Value>                                                                                         \
    class name##_of : public name {                                                                                \
    public:                                                                                                        \
        ~name##_of() override;                                                                                     \
        void* constructASN1T##Field(ASN1CTXT* ctxt) override { return Value::construct(ctxt); }                    \
        ASN1CType* constructASN1C##Field(ASN1MessageBufferIF& buffer, void* record) override {                     \
            return Value::constructControl(buffer, record);                                                        \
        }                                                                                                          \
        void destructASN1C##Field(ASN1CType* control) override { Value::destructControl(control); }                \
        int encodeBER##Field(ASN1CTXT* ctxt, Asn1TObject& object) override { return Value::encode(ctxt, object); } \
        int decodeBER##Field(ASN1CTXT* ctxt, Asn1TObject& object) override { return Value::decode(ctxt, object); } \
        void copy##Field(ASN1CTXT* ctxt, const Asn1TObject& from, Asn1TObject& to) override {                      \
            Value::copy(ctxt, from, to);                                                                           \
        }                                                                                                          \
        void free##Field(ASN1CTXT* ctxt, Asn1TObject& object) override { Value::free(ctxt, object); }              \
                                                                                                                   \
    protected:                                                                                                     \
        using name::name;                                                                                          \
    };

/// An object of the class. schema::ValueOf or a similar class provides the operations on its value.
#define SCHEMA_OBJECT(name, objectClass, ...)           \
    class name : public objectClass##_of<__VA_ARGS__> { \
    public:                                             \
        name();                                         \
        ~name() override;                               \
    };

/// The set of `count` objects of the class.
#define SCHEMA_OBJECT_SET(name, objectClass, count)             \
    class name : public schema::ObjectSet<objectClass, count> { \
    public:                                                     \
        static name* instance(ASN1CTXT* ctxt);                  \
        static name* mpInstance;                                \
                                                                \
    private:                                                    \
        friend void name##Once();                               \
    };
// NOLINTEND(bugprone-macro-parentheses)
