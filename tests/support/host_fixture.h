/// @file
/// The base of the tests on the stand-in host: texts, what a call throws, a folder for each test, and the
/// check that no object of the host is alive after it, when the members of its class are gone.
#pragma once

#include <exception>
#include <filesystem>
#include <functional>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "host/exceptions.h"
#include "host_standin/faults.h"
#include "host_standin/live_objects.h"
#include "host_standin/locations.h"
#include "tests_support/table.h"
#include "tests_support/temp_folder.h"

namespace orkit::test {

namespace fs = std::filesystem;

using tests_support::Rows;
using tests_support::Table;

/// A String of UTF-8.
inline String Wide(std::string_view inText) {
    return String(inText.data(), static_cast<std::ptrdiff_t>(inText.size()));
}

/// A text for messages and comparisons, in UTF-8.
inline std::string Text(const String& inText) {
    const StFromUTF16 narrow(inText, GetConverter_UTF8());
    return {narrow.c_str(), narrow.get_Length()};
}

/// Calls a function. @return what it threw: "CLASS CODE" and the exception's texts, each after a '|'; for a
/// std::exception "std::exception|" and its `what`; "" if it threw nothing.
inline std::string Catch(const std::function<void()>& inCall) {
    try {
        inCall();
        return "";
    } catch (const xException& error) {
        std::string text = dynamic_cast<const orsql::xDuckDBError*>(&error) ? "xDuckDBError "
                           : dynamic_cast<const xFeatureError*>(&error)     ? "xFeatureError "
                           : dynamic_cast<const xDBError*>(&error)          ? "xDBError "
                                                                            : "xException ";
        text += std::to_string(error.get_Code());
        for (std::size_t index = 0; index < xException::kTextCount; ++index) {
            text += error.get_Text(index) ? "|" + Text(*error.get_Text(index)) : "";
        }
        return text;
    } catch (const std::exception& error) {
        return std::string("std::exception|") + error.what();
    }
}

/// The last text of what a call throws.
inline std::string Refusal(const std::function<void()>& inCall) {
    const std::string thrown = Catch(inCall);
    return thrown.substr(thrown.rfind('|') + 1);
}

class HostTest : public ::testing::Test {
protected:
    ~HostTest() override {
        standin::ClearFaults();
        // A failure prints them as bytes, in the order of the members.
        EXPECT_EQ(standin::CountLiveObjects(), standin::LiveObjects{});
    }

    /// This test's own folder, empty at the start and deleted at the end.
    const fs::path& Folder() const { return mFolder.Path(); }
    std::string PathOf(const std::string& inName) const { return mFolder / inName; }
    /// A location of a file in the test's folder, or of ":memory:".
    smart_ptr<I_Location> At(const std::string& inName) const {
        return standin::MakeLocation(Wide(inName == ":memory:" ? inName : PathOf(inName)));
    }

private:
    tests_support::TempFolder mFolder;
};

} // namespace orkit::test
