#pragma once

#include "foundation/SysRoot.h"
#include "foundation/SysRootFile.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace corvane {

// A frequency item's source: "ifre-0" for the first processor package, "igfre-0" for the
// integrated GPU. Values in MHz.
struct FrequencySource {
    std::string key, name;
    double high = 0;
};

// Intel processor frequencies, each package's the mean of its CPUs' present frequencies, and
// the integrated GPU's actual frequency (i915 or xe). Files are kept open between reads.
class CpuFrequencySensors {
public:
    CpuFrequencySensors(const SysRoot& root, bool includeGpu);
    ~CpuFrequencySensors();

    const std::vector<FrequencySource>& sources() const { return sources_; }
    // The present frequency of each source, 0 where nothing could be read.
    std::map<std::string, double> read();

private:
    struct Package {
        std::string key;
        std::vector<std::unique_ptr<SysRootFile>> cpus;
    };
    std::vector<FrequencySource> sources_;
    std::vector<Package> packages_;
    std::unique_ptr<SysRootFile> gpu_;
    std::string gpuKey_;
};

} // namespace corvane
