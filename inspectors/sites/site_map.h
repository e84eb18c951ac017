// One site the agent is subscribed to. The agent chains these records in a
// list it owns; the site inspectors only read them.
#pragma once

#include <cstdint>

#include "files/file_location.h"
#include "files/stringy.h"
#include "inspectors/sites/site_type.h"
#include "url/url.h"
#include "util/instant.h"

enum ScheduleOption : std::uint32_t {
    cPublisherSchedule = 0,
    cCustomSchedule = 1,
    cManualSchedule = 2,
    cDisabledSchedule = 3,
};

class SiteMap {
public:
    SiteMap(MacintoshPlatform::FileLocation const& location, Stringy const& name, URL const& url,
            SiteType const& type, unsigned long number, Instant const& subscribeTime,
            Instant const& gatherTime, ScheduleOption schedule, unsigned long version,
            unsigned long publisherInterval, unsigned long customInterval);

    void SetSiteLocator(URL const& url);
    // The locator with every percent escape turned into its byte.
    Stringy const& SiteLocatorDecoded() const { return decodedLocator_; }

    SiteMap* next = nullptr;
    MacintoshPlatform::FileLocation location;
    Stringy name;
    URL url;
    SiteType type;
    std::uint32_t number;
    Instant subscribeTime;
    Instant lastGatherTime;
    ScheduleOption gatherSchedule;
    std::uint32_t version;
    std::uint32_t publisherGatherInterval;
    std::uint32_t customGatherInterval;

private:
    void DecodeLocator();

    Stringy decodedLocator_;
};
