#pragma once

namespace corvane {} // namespace corvane
