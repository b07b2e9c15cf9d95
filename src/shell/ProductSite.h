#pragma once

namespace corvane {

// The product's web site, home of the help pages and the update feed. A deployment setting:
// the one place that names its host.
inline constexpr const char* kProductSiteAddress = "https://corvanebar.example";
inline constexpr const char* kUpdateFeedPath = "/corvanebar6/version-json.php";

} // namespace corvane
