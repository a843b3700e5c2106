#pragma once
// What tests ask of the system beyond Platform/. A file of each system's own defines it.

#include <cstddef>
#include <string>

namespace TestSupport {

/// Sets a variable of the environment, or unsets it for null.
void setVariable(const char* name, const char* value);

/// The variable that says where the user's state lies.
extern const char* const stateVariable;

/// Has log messages keep their bytes. False if the system has no locale for that.
bool setUtf8Locale();

/// The words of a code of <cerrno>.
std::string textOfError(int code);

/// The function of that name which the program's own one hides.
void* librarysOwn(const char* function);

/// Whether a library shows that function to the whole process.
bool isSeenByAll(const char* function);

/// How much of the heap is in use.
std::size_t heapBytesInUse();

/// The most memory that this process has had so far.
std::size_t peakBytes();

/// How many files, sockets and the like this process has open.
std::size_t openDescriptors();

/// Whether this process has the library at `path` loaded.
bool isLoaded(const std::string& path);

} // namespace TestSupport
