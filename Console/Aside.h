#pragma once
// Work on threads of its own, so that Ctrl-C need not wait for it.

#include "Diagnosis/Facts.h"

#include <cstddef>
#include <functional>
#include <vector>

namespace Console {

class ToolLog;

/// How many pieces of work go on at a time.
inline constexpr std::size_t mostAside = 16;

/// Does each of `works` on a thread of its own, `mostAside` at a time or as many as can be started, and if
/// none can, on the calling one. Returns, once all have ended, for each of them the lines that the plug-in
/// logged on its thread, as `log` keeps them. Passes on what the first of them that failed threw.
///
/// If Ctrl-C has come, throws interruption() within a moment, but for work on the calling thread, and leaves
/// what is not done to itself (leaveThreadBehind): so whatever a piece uses must be the plug-in's, or its
/// own, by shared ownership, and not on anybody's stack.
///
/// `meanwhile` is called on the calling thread now and then, with how many have ended.
std::vector<std::vector<Diagnosis::LogLine>>
doAside(ToolLog& log, std::vector<std::function<void()>> works,
        const std::function<void(std::size_t ended)>& meanwhile = {});

} // namespace Console
