#include "collectors/weather/ProviderList.h"

#include "foundation/Json.h"
#include "foundation/Log.h"
#include "preferences/CVBPreferences.h"

#include <glib.h>

namespace corvane {

namespace {

// Provider lists are a few hundred bytes.
constexpr std::size_t kLongestAnswer = 64 * 1024;

std::string hostOf(const std::string& url) {
    GUri* uri = g_uri_parse(url.c_str(), G_URI_FLAGS_NONE, nullptr);
    std::string host = uri && g_uri_get_host(uri) ? g_uri_get_host(uri) : url;
    if (uri)
        g_uri_unref(uri);
    return host;
}

} // namespace

ProviderList::ProviderList(CVBPreferences& preferences, Settings settings,
                           std::function<void()> changed)
    : preferences_(preferences)
    , settings_(std::move(settings))
    , changed_(std::move(changed))
    , session_(makeWebSession(settings_.tlsDatabase)) {}

Value ProviderList::fallbackProviders() {
    const auto entry = [](const char* name, const char* key) {
        return Value::dict({{"name", name}, {"key", key}});
    };
    return Value::array({
        entry("Apple Weather", "apple"),
        entry("AccuWeather", "accuweather"),
        entry("Aeris Weather", "aeris"),
        entry("Dark Sky", "darksky"),
        entry("Environment Canada - Canada Only", "environmentcanada"),
        entry("WillyWeather (BoM) - Australia Only", "willyweather"),
    });
}

void ProviderList::update() {
    if (settings_.serviceURL.empty() || request_.active())
        return;
    request_ =
        WebRequest(session_.get(), settings_.serviceURL + kPath, {kLongestAnswer, /*noCache*/ true},
                   [this](std::optional<std::string> answer, std::string failure) {
                       finished(std::move(answer), failure);
                   });
}

void ProviderList::finished(std::optional<std::string> answer, const std::string& failure) {
    if (!answer) {
        CVBLog("Weather: the provider list: %s", failure.c_str());
        failure_ =
            "Please make sure that Corvane Bar can connect to " + hostOf(settings_.serviceURL);
        if (changed_)
            changed_();
        return;
    }
    failure_.clear();
    const Value list = providersFromAnswer(*answer);
    if (list.isNull()) {
        CVBLog("Weather: ignored a provider list that is not one (%zu bytes)", answer->size());
        return;
    }
    if (!(preferences_.objectForKey(kStoredKey) == list))
        preferences_.setObject(list, kStoredKey);
    if (changed_)
        changed_();
}

Value ProviderList::providersFromAnswer(const std::string& answer) {
    const Value json = parseJson(answer, "the provider list");
    if (!json.isArray())
        return {};
    Value list = Value::array();
    for (const Value& item : json.arrayItems()) {
        if (!item["name"].isString() || !item["key"].isString())
            return {};
        list.append(Value::dict({{"name", item["name"]}, {"key", item["key"]}}));
    }
    return list;
}

Value ProviderList::providers() const {
    const Value& stored = preferences_.objectForKey(kStoredKey);
    return stored.isArray() && !stored.empty() ? stored : fallbackProviders();
}

Value ProviderList::popupItems() const {
    Value items = Value::array(
        {Value::dict({{"name", "Automatic"}, {"key", ""}}), Value::dict({{"separator", true}})});
    const Value list = providers();
    for (const Value& provider : list.arrayItems())
        items.append(provider);
    return items;
}

std::size_t ProviderList::selectedIndex() const {
    const std::string chosen = preferences_.objectForKey(kChosenKey).stringValue();
    const Value items = popupItems();
    for (std::size_t i = 2; i < items.size() && !chosen.empty(); ++i)
        if (items[i]["key"].stringValue() == chosen)
            return i;
    return 0;
}

} // namespace corvane
