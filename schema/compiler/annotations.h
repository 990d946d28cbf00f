// The meaning of the annotations before a definition or member.
#pragma once

#include <optional>
#include <string>

#include "schema/compiler/model.h"
#include "schema/compiler/values.h"

namespace schemac {

// Where an annotation appears. Each annotation is allowed in some of these places.
enum class AnnotationPlace { Type, Member, Value, Object, Other };

struct AnnotationSet {
    bool isOpen = false;
    bool isArray = false;
    bool isBig = false;
    bool takesAnyString = false;
    bool isRawIfTooBig = false;
    bool isLeftOut = false;
    bool isLocal = false;
    std::optional<std::int64_t> below;
    std::string name;
    std::string control;
    std::optional<Name> key;
    Span span;  // of the first annotation, for messages
};

AnnotationSet readAnnotations(const Annotations& annotations, AnnotationPlace place, Diagnostics& diagnostics);

}  // namespace schemac
