#pragma once
// JSON literals for the tests, written as text.
#include <string>

#include <gtest/gtest.h>
#include <json/value.h>

#include "host/kelhost/json_io.h"

inline Json::Value J(const std::string& text) {
  Json::Value value;
  std::string problem;
  EXPECT_TRUE(kelhost::ParseJson(text, value, problem)) << text << ": " << problem;
  return value;
}
