// The explicit law as C, and what all C that is written shares.
#include "frontend/parametric/c_text.hpp"

#include <cstdio>
#include <sstream>

#include "activeset/regions.hpp"

namespace activeset {

namespace frontend {

namespace {

template <class Value, class Write>
void writeValues(std::ostream& text,
                 const char* type,
                 const char* name,
                 const std::vector<Value>& values,
                 Write write) {
    constexpr std::size_t PerLine = 4;
    text << "static const " << type << ' ' << name << "[] = {";
    for (std::size_t k = 0; k < values.size(); ++k) {
        text << (k % PerLine == 0 ? "\n    " : " ");
        write(values[k]);
        text << (k + 1 < values.size() ? "," : "");
    }
    text << (values.empty() ? "0" : "") << "};\n";
}

}  // namespace

void writeArray(std::ostream& text, const char* name, const std::vector<double>& values) {
    writeValues(text, "double", name, values, [&](double value) {
        char digits[32];  // NOLINT(modernize-avoid-c-arrays): of snprintf
        std::snprintf(digits, sizeof digits, "%.17g", value);
        text << digits;
    });
}

void writeArray(std::ostream& text, const char* name, const std::vector<std::size_t>& values) {
    writeValues(text, "int", name, values, [&](std::size_t value) { text << value; });
}

}  // namespace frontend

std::string Regions::code(const std::string& name) const {
    frontend::requireName(name, "Regions");
    const std::size_t p = parameters();
    std::vector<double> E;
    std::vector<double> e;
    std::vector<double> gain;
    std::vector<double> offset;
    std::vector<std::size_t> first{0};
    for (const CriticalRegion& region : regions_) {
        E.insert(E.end(), region.E.begin(), region.E.end());
        e.insert(e.end(), region.e.begin(), region.e.end());
        gain.insert(gain.end(), region.gain.begin(), region.gain.end());
        offset.insert(offset.end(), region.offset.begin(), region.offset.end());
        first.push_back(e.size());
    }
    std::ostringstream text;
    text << "/* The optimum as an explicit function of " << p << " parameters: " << regions_.size()
         << " regions. Returns\n   the region, or -1 and leaves x where there is none. */\n";
    frontend::writeArray(text, "least", least_);
    frontend::writeArray(text, "most", most_);
    frontend::writeArray(text, "first", first);
    frontend::writeArray(text, "E", E);
    frontend::writeArray(text, "e", e);
    frontend::writeArray(text, "gain", gain);
    frontend::writeArray(text, "offset", offset);
    const std::string head = text.str();
    text.str("");
    text << "(const double *theta, double *x) {\n"
         << "    enum { N = " << n_ << ", P = " << p << ", REGIONS = " << regions_.size() << " };\n"
         << R"(    int r, i, j, k;
    for (k = 0; k < P; ++k) {
        if (!(theta[k] >= least[k] && theta[k] <= most[k])) return -1;
    }
    for (r = 0; r < REGIONS; ++r) {
        for (i = first[r]; i < first[r + 1]; ++i) {
            double value = -e[i];
            for (k = 0; k < P; ++k) value += E[i * P + k] * theta[k];
            if (!(value <= 1e-9)) break;
        }
        if (i < first[r + 1]) continue;
        for (j = 0; j < N; ++j) {
            x[j] = offset[r * N + j];
            for (k = 0; k < P; ++k) x[j] += gain[(r * N + j) * P + k] * theta[k];
        }
        return r;
    }
    return -1;
}
)";
    return frontend::named(name, head, text.str(), "Regions");
}

}  // namespace activeset
