#include "inspectors/sites/site_map.h"

#include "url/percent.h"

SiteMap::SiteMap(MacintoshPlatform::FileLocation const& location_, Stringy const& name_,
                 URL const& url_, SiteType const& type_, unsigned long number_,
                 Instant const& subscribeTime_, Instant const& gatherTime_,
                 ScheduleOption schedule_, unsigned long version_, unsigned long publisherInterval_,
                 unsigned long customInterval_)
    : location(location_), name(name_), url(url_), type(type_),
      number(static_cast<std::uint32_t>(number_)), subscribeTime(subscribeTime_),
      lastGatherTime(gatherTime_), gatherSchedule(schedule_),
      version(static_cast<std::uint32_t>(version_)),
      publisherGatherInterval(static_cast<std::uint32_t>(publisherInterval_)),
      customGatherInterval(static_cast<std::uint32_t>(customInterval_)) {
    DecodeLocator();
}

void SiteMap::SetSiteLocator(URL const& url_) {
    url = url_;
    DecodeLocator();
}

// The url's whole text, fragment included.
void SiteMap::DecodeLocator() {
    decodedLocator_ = Stringy(URLDecoder()(url.Text()));
}
