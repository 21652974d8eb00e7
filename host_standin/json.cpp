#include "host/json.h"

#include <optional>
#include <vector>

#include "host_standin/json_text.h"
#include "host_standin/value_support.h"

namespace orkit {

struct Json::Imp {
    std::optional<std::vector<standin::JsonMember>> mMembers; // nothing if the text isn't JSON
};

Json::Json(const char* inText) : mImp(std::make_unique<Imp>()) {
    const String text(inText);
    mImp->mMembers = standin::ReadJsonMembers(orsql::detail::ViewOf(text));
}

Json::~Json() = default;

bool Json::isValid() const noexcept { return mImp->mMembers.has_value(); }

String Json::get_JsonValue(const String& inName) const {
    if (mImp->mMembers) {
        for (const standin::JsonMember& member : *mImp->mMembers) {
            if (member.mName == orsql::detail::ViewOf(inName)) {
                return member.mKind == standin::JsonKind::Null ? String()
                                                               : orsql::detail::ToString(member.mText);
            }
        }
    }
    return String();
}

} // namespace orkit
