// Tables of cases: a struct with a `name` of letters and digits, from which the test gets its name.
#pragma once

#include <gtest/gtest.h>

#include <string>

namespace tests {

struct NameOfCase {
  template <class Case>
  std::string operator()(const testing::TestParamInfo<Case>& each) const {
    return each.param.name;
  }
};

}  // namespace tests
