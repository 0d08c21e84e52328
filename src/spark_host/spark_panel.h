#pragma once

#include <functional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "host/spark_api.h"

namespace velorin {

// What is wrong with a plug-in or with a setup: names it and says what would be right.
class SparkHostError : public std::runtime_error {
  public:
    using std::runtime_error::runtime_error;
};

// Lowest and highest value, and the step of an edit.
struct SparkRange {
    double least = 0.0;
    double greatest = 0.0;
    double step = 0.0;
};

// One control of a panel: the plug-in's own record, under the name it was found by. Values of all
// kinds are numbers here; a push button has none.
class SparkControl {
  public:
    using Record = std::variant<SparkPush*, SparkBoolean*, SparkInt*, SparkFloat*, SparkPup*>;

    SparkControl(Record newRecord, int newNumber) : number(newNumber), record(newRecord) {}

    std::string Name() const;        // "SparkPup13"
    std::string_view Kind() const;   // "button", "heading", "switch", "integer", ...
    std::string_view Title() const;  // with the format of the value; empty for a menu
    std::vector<std::string_view> Entries() const;  // of a menu, else none
    SparkCallback Callback() const;
    int Flags() const;

    bool HasValue() const { return !std::holds_alternative<SparkPush*>(record); }
    bool IsInteger() const { return !std::holds_alternative<SparkFloat*>(record); }
    double Value() const;
    // What its record can hold, in range or not. A fraction is cut off an integer.
    void SetValue(double value) const;
    // What a user can set it to.
    SparkRange Range() const;
    // What the record can hold.
    SparkRange Limits() const;

    const int number;

  private:
    Record record;
};

// The controls of a panel, by number.
class SparkPanel {
  public:
    // Looks up every name that a control can have, numbers 1 to 64: `find` answers null for none.
    explicit SparkPanel(const std::function<void*(const std::string& name)>& find);

    const std::vector<SparkControl>& Controls() const { return controls; }
    // Null where there is none.
    const SparkControl* Find(std::string_view name) const;
    // The control of that number that has a value; null where there is none.
    const SparkControl* FindValue(int number) const;

  private:
    std::vector<SparkControl> controls;
};

}  // namespace velorin
