// The names of the parameters by which web sites recognise a session or a visitor: they differ from visit to visit and
// say nothing about the page.
#pragma once

#include <array>
#include <string_view>

namespace halden {

struct SessionParameter {
    std::u16string_view name;  ///< in lower case
    bool isPrefix = false;     ///< whether more may follow before the "="
};

/// Names that also say what a page shows on too many sites ("s", "id", "ref", "tag", "source") are left out on purpose.
inline constexpr auto kSessionParameters = std::to_array<SessionParameter>({
    // --- Sessions
    {u"phpsessid"},           // PHP, when cookies are refused
    {u"jsessionid"},          // Java servlets; mostly behind a ";" in the path
    {u"sid"},                 // boards and shops of many makers
    {u"sessid"},              // the same, spelled out
    {u"session_id"},          // another spelling of the one above
    {u"sessionid"},           // another spelling of the one above
    {u"session-id"},          // another spelling of the one above
    {u"___sid"},              // Magento, between the hosts of one shop
    {u"aspsessionid", true},  // ASP adds letters of the server to the name
    {u"asp.net_sessionid"},   // ASP.NET
    {u"cfid"},                // ColdFusion: the client's number
    {u"cftoken"},             // and the secret to it
    {u"bv_sessionid"},        // BroadVision
    {u"bv_engineid"},         // and the process that holds the session
    {u"wosid"},               // WebObjects
    {u"oscsid"},              // osCommerce
    {u"xtcsid"},              // xt:Commerce
    {u"zenid"},               // Zen Cart
    {u"modsid"},              // modified eCommerce
    {u"oxsid"},               // OXID
    {u"force_sid"},           // the same, forced over the cookie's
    // --- Clicks on advertisements
    {u"gclid"},           // Google Ads
    {u"gclsrc"},          // and the product that made the click
    {u"dclid"},           // Google's display network
    {u"gbraid"},          // Google Ads, from apps to the web
    {u"wbraid"},          // and from the web to apps
    {u"gad_source"},      // Google Ads, the kind of advertisement
    {u"gad_campaignid"},  // and its campaign
    {u"fbclid"},          // Facebook
    {u"igshid"},          // Instagram, who shared
    {u"igsh"},            // its later form
    {u"msclkid"},         // Microsoft Advertising
    {u"yclid"},           // Yandex Direct
    {u"ysclid"},          // Yandex search
    {u"twclid"},          // Twitter
    {u"ttclid"},          // TikTok
    {u"epik"},            // Pinterest
    {u"li_fat_id"},       // LinkedIn
    {u"rdt_cid"},         // Reddit
    {u"sccid"},           // Snapchat
    {u"scclid"},          // its later form
    {u"ef_id"},           // Adobe Advertising
    {u"s_kwcid"},         // and its keyword
    {u"rb_clickid"},      // Rebrandly's and others' redirects
    {u"wickedid"},        // Wicked Reports
    // --- Visitors handed from host to host, and readers of mailings
    {u"_ga"},                 // Google Analytics, across domains
    {u"_gl"},                 // its later form
    {u"mc_cid"},              // Mailchimp: the mailing
    {u"mc_eid"},              // and the reader
    {u"mkt_tok"},             // Marketo
    {u"_hsenc"},              // HubSpot: the reader
    {u"_hsmi"},               // and the mailing
    {u"__hssc"},              // its session
    {u"__hstc"},              // its visitor
    {u"__hsfp"},              // and the visitor's browser
    {u"hsctatracking"},       // its buttons
    {u"vero_id"},             // Vero: the reader
    {u"vero_conv"},           // and what the reader did
    {u"oly_anon_id"},         // Omeda: unknown readers
    {u"oly_enc_id"},          // and known ones
    {u"ml_subscriber"},       // MailerLite
    {u"ml_subscriber_hash"},  // and the proof of it
    {u"_ke"},                 // Klaviyo: the reader
    {u"_kx"},                 // its later form
    {u"trk_contact"},         // Listrak: the reader
    {u"trk_msg"},             // and the mailing
    // --- Partners who are paid for visitors
    {u"affid"},         // programs of many makers
    {u"aff_id"},        // another spelling of the one above
    {u"affiliateid"},   // another spelling of the one above
    {u"affiliate_id"},  // another spelling of the one above
    {u"irclickid"},     // Impact
    {u"irgwc"},         // and whether it paid for the click
    {u"cjevent"},       // CJ
    {u"awc"},           // Awin
    {u"zanpid"},        // zanox
    {u"tduid"},         // Tradedoubler
    {u"ranmid"},        // Rakuten: the shop
    {u"raneaid"},       // the partner
    {u"ransiteid"},     // and the click
    {u"clickid"},       // smaller networks
    {u"click_id"},      // another spelling of the one above
    {u"linkcode"},      // Amazon, how a partner's link was made
    {u"ascsubtag"},     // and which of them it is
});

/// Whether `name`, without its "=", is in the table, ignoring the case of ASCII letters.
[[nodiscard]] bool isSessionParameter(std::u16string_view name) noexcept;

}  // namespace halden
