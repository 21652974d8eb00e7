/// @file
/// The base of the tests of the stand-in host.
#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include <gtest/gtest.h>

#include <unistd.h>

#include "host/exceptions.h"
#include "host/value.h"
#include "host_standin/faults.h"
#include "host_standin/live_objects.h"
#include "host_standin/locations.h"

namespace orkit::standin {

/// A text in UTF-8, for messages and comparisons.
inline std::string Narrow(const String& inText) { return StFromUTF16(inText, GetConverter_UTF8()).c_str(); }

/// A value's text.
inline std::string TextOf(const smart_ptr<orsql::I_Value>& inValue) {
    String text;
    inValue->get_String(text, -1);
    return Narrow(text);
}

/// The second text of the xException that a call raises; "" if it raises nothing.
inline std::string Refusal(const std::function<void()>& inCall) {
    try {
        inCall();
    } catch (const xException& exception) {
        return exception.get_Text(1) ? Narrow(*exception.get_Text(1)) : "no text";
    }
    return "";
}

/// Checks that nothing is alive before and after each test, and gives it an empty folder.
class StandinTest : public ::testing::Test {
protected:
    void SetUp() override {
        EXPECT_EQ(CountLiveObjects(), LiveObjects());
        namespace fs = std::filesystem;
        std::string pattern = (fs::canonical(fs::temp_directory_path()) / "standin-XXXXXX").string();
        ASSERT_NE(::mkdtemp(pattern.data()), nullptr);
        mFolder = pattern;
    }
    void TearDown() override {
        ClearFaults();
        EXPECT_EQ(CountLiveObjects(), LiveObjects());
        std::filesystem::remove_all(mFolder);
    }

    std::string PathOf(const std::string& inName) const { return (mFolder / inName).string(); }
    smart_ptr<I_Location> LocationOf(const std::string& inName) const {
        return MakeLocation(PathOf(inName).c_str());
    }

    std::filesystem::path mFolder;
};

} // namespace orkit::standin
