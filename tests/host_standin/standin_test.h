/// @file
/// The base of the tests of the stand-in host.
#pragma once

#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "host/exceptions.h"
#include "host/value.h"
#include "host_standin/faults.h"
#include "host_standin/live_objects.h"
#include "host_standin/locations.h"
#include "tests_support/temp_folder.h"

namespace orkit::standin::test {

/// A text in UTF-8, for messages and comparisons.
inline std::string Narrow(const String& inText) {
    const StFromUTF16 text(inText, GetConverter_UTF8());
    return {text.c_str(), text.get_Length()};
}

/// A value's text.
inline std::string TextOf(const smart_ptr<orsql::I_Value>& inValue) {
    String text;
    inValue->get_String(text, -1);
    return Narrow(text);
}

/// A text of the xException that a call throws; "" if it throws nothing.
inline std::string Refusal(const std::function<void()>& inCall, int inText = 1) {
    try {
        inCall();
    } catch (const xException& exception) {
        return exception.get_Text(inText) ? Narrow(*exception.get_Text(inText)) : "no text";
    }
    return "";
}

/// Checks that no object is alive before and after each test, and provides an empty folder.
class StandinTest : public ::testing::Test {
protected:
    void SetUp() override { EXPECT_EQ(CountLiveObjects(), LiveObjects()); }
    void TearDown() override {
        ClearFaults();
        EXPECT_EQ(CountLiveObjects(), LiveObjects());
    }

    std::string PathOf(const std::string& inName) const { return mFolder / inName; }
    smart_ptr<I_Location> LocationOf(const std::string& inName) const {
        return MakeLocation(PathOf(inName).c_str());
    }

    const tests_support::TempFolder mFolder;
};

} // namespace orkit::standin::test
