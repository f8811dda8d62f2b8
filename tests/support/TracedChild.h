#pragma once

#include <functional>
#include <string>

/// Runs `checks` in a traced process of its own and does `act` once, right before the process opens the entry
/// `name` of an open folder. Expectations that fail there are printed and fail the test here.
/// @param times  how often it has to be about to do so.
void beforeOpening(const std::string& name, const std::function<void()>& checks,
                   const std::function<void()>& act, int times = 1);
