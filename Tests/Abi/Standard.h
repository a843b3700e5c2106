#pragma once
// The standard library of MinGW-w64, all that the host's interfaces include of it, read before what follows
// is told that Microsoft's compiler is at work: that library does not know it.

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <functional>
#include <future>
#include <iosfwd>
#include <istream>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

#define _MSC_VER 1930
