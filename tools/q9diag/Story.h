/// @file
/// A command that tells its steps one by one, and checks each of them.
#pragma once

#include <string>

#include "Failure.h"
#include "Output.h"

namespace vlm::tool {

/// Tells the steps and keeps count of what failed.
class Story {
public:
    explicit Story(Output& rOutput) : m_rOutput(rOutput) {}

    /// Begins a step; what is told and checked next belongs to it.
    void Step(const std::string& strWhat);
    void Tell(const std::string& strLine);
    void Check(bool fHolds, const std::string& strWhat);
    /// Prints the verdict.  @return the command's exit status.
    int End();

private:
    Output& m_rOutput;
    Json m_oSteps = Json::array();
    bool m_bAllHold = true;
};

}  // namespace vlm::tool
