// Program files as trees of statements. Expressions stay text, of which the grammar of macro/ makes code.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "lang/place.h"

namespace tarnel {

// A piece of the tree's text.
struct Span {
  std::size_t at = 0, size = 0;
  bool empty() const { return size == 0; }
};

// A name of a declaration: LOCAL name[dimensions] AS type := value.
struct Declared {
  Span name;
  Span dimensions;  // without the brackets
  Span value;
  char type = 'U';
};

struct Statement;
using Body = std::vector<Statement>;

// What runs under a condition, or within a loop or sequence.
struct Arm {
  std::int32_t line = 0;
  Span condition;  // empty: ELSE, OTHERWISE
  Body body;
};

enum class StatementKind : std::uint8_t {
  kExpression,  // spans: the expression
  kDo,          // spans: name WITH arguments
  kIf,          // arms: IF, ELSEIF, ELSE
  kCase,        // arms: CASE, OTHERWISE
  kWhile,       // arms: one
  kFor,         // spans: counter, first value, limit, step; arms: one
  kForEach,     // spans: variable, array; arms: one
  kSequence,    // spans: variable of USING; arms: the sequence, what RECOVER does if it is there
  kLoop,
  kExit,
  kReturn,      // spans: value, or empty
  kBreak,       // spans: value, or empty
  kParameters,  // declared
  kLocal,
  kStatic,
  kPrivate,
  kPublic,
  kField,   // declared; spans: alias, or empty
  kMemvar,  // declared
  kText,    // literal
  kShow,    // spans: an expression; literal: the function that writes its value
};

struct Statement {
  StatementKind kind;
  std::int32_t line = 0;
  std::vector<Span> spans{};
  std::vector<Arm> arms{};
  std::vector<Declared> declared{};
  std::string literal{};  // lines of TEXT, each with its line feed
};

enum class ProcedureKind : std::uint8_t { kPublic, kStatic, kInit, kExit, kMethod, kPage };

struct ProcedureTree {
  Span name;
  Place place;
  Span of_class;         // of a method
  std::string own_name;  // of the statements before the first declaration: the file's; else empty
  ProcedureKind kind = ProcedureKind::kPublic;
  bool is_function = false;
  std::vector<Declared> parameters;
  char result = 'U';
  Body body;
};

// CLASS name INHERIT base
struct ClassTree {
  Span name, base;
  Place place;
  std::vector<Declared> instances;
  std::vector<Span> methods;
};

// One file with what it includes.
struct ProgramTree {
  PlacedText text;
  std::vector<Statement> declarations;  // STATIC, FIELD and MEMVAR before the first procedure
  std::vector<ProcedureTree> procedures;
  std::vector<ClassTree> classes;
  int without_end = 0;      // statements that hold others, and lack their end
  std::vector<Span> types;  // words behind AS that have to be classes

  std::string_view operator[](Span span) const { return text.text().substr(span.at, span.size); }
};

}  // namespace tarnel
