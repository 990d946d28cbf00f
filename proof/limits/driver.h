// What a driver is: it holds one promise of the table "Resource limits" against the library. It shows both that what
// the limit permits is accepted, and that one more is refused or not done.
//
//   {"a redirect", "at most 3 redirects", follows3Redirects}
#pragma once

#include <string>
#include <vector>

#include "proof/common/part.h"

namespace proof {

/// What a driver found out, in its own process.
class Probe {
public:
    Probe(std::string promise, Report& report) : promise_(std::move(promise)), report_(report) {}

    /// A finding unless `holds`. `what` says what should have been the case.
    void expect(bool holds, const std::string& what);
    /// A finding unless `value` is in the range, both ends included.
    void expectWithin(double value, double least, double most, const std::string& what);
    /// A figure for the output of the part.
    void measured(const std::string& what, double value, const char* unit = "") const;

    bool isQuick = false;  // long waits are left out
    std::string command;   // the tallow command; empty: there is none

private:
    std::string promise_;
    Report& report_;
};

struct Driver {
    const char* input;    // first column of its row
    const char* promise;  // words of the second column, in which the number is
    void (*run)(Probe&);
    double seconds = 0;   // that it waits; such drivers run at the same time, since they need no processor
    bool isLong = false;  // not in a quick run
};

// By what they need. Each row of the table belongs to one of them.
std::vector<Driver> exchangeDrivers();
std::vector<Driver> checkDrivers();
std::vector<Driver> parsingDrivers();
std::vector<Driver> certificateDrivers();
std::vector<Driver> chainDrivers();
std::vector<Driver> signerDrivers();
std::vector<Driver> crlDrivers();
std::vector<Driver> serverDrivers();
std::vector<Driver> fileDrivers();
std::vector<Driver> cacheDrivers();
std::vector<Driver> listDrivers();

}  // namespace proof
