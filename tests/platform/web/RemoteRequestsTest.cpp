// What a page may fetch. A server on the loopback address stands for the remote one: the hook says that it is.

#include "foundation/Unicode.h"
#include "platform/web/HtmlRenderer.h"
#include "tests/platform/web/LoopbackServer.h"
#include "tests/platform/web/Rendering.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>

namespace halden::test {
namespace {

HtmlRenderer& renderer() {
    static HtmlRenderer instance;
    return instance;
}

struct Attempt {
    const char* name;
    const char* markup;  // REMOTE and NEAR stand for the addresses of the servers
};

std::string filled(std::string markup, const LoopbackServer& remote, const LoopbackServer& near) {
    for (const auto& [mark, address] :
         {std::pair<std::string, std::string>{"WSREMOTE", "ws://127.0.0.1:" + remote.port()},
          {"HOSTREMOTE", "127.0.0.1:" + remote.port()},
          {"REMOTE", remote.address()},
          {"NEAR", near.address("localhost")}}) {
        for (std::size_t at = 0; (at = markup.find(mark, at)) != std::string::npos; at += address.size())
            markup.replace(at, mark.size(), address);
    }
    return markup;
}

class RemoteForbidden : public ::testing::TestWithParam<Attempt> {};

TEST_P(RemoteForbidden, ReachesNobody) {
    LoopbackServer remote;
    LoopbackServer near;
    near.answer("/away", LoopbackServer::redirect(remote.address() + "/secret"));
    near.answer("/style.css", LoopbackServer::ok("text/css", filled("@import url(REMOTE/x.css);", remote, near)));
    near.answer("/worker.js", LoopbackServer::ok("text/javascript",
                                                 filled("fetch('REMOTE/w');importScripts('REMOTE/i')", remote, near)));
    near.answer("/frame", LoopbackServer::ok("text/html", filled("<img src=REMOTE/f><script>fetch('REMOTE/g')</script>",
                                                                 remote, near)));
    near.answer("/hop", LoopbackServer::redirect(near.address("localhost") + "/away"));
    near.answer("/headers", "HTTP/1.1 200 OK\r\nContent-Type: text/html\r\nLink: <" + remote.address() +
                                "/l>; rel=preload; as=image, <" + remote.address() +
                                "/s.css>; rel=stylesheet\r\nRefresh: 0; url=" + remote.address() +
                                "/r\r\nContent-Length: 1\r\nConnection: close\r\n\r\nx");
    RecordingDelegate delegate([&](const Url& url) {
        return utf8FromUtf16(url.absoluteString()).find(":" + remote.port()) == std::string::npos;
    });
    HtmlReadingOptions options{.timeout = 5, .delegate = &delegate};
    options.baseURL = URLWithString(utf16FromUtf8(remote.address() + "/base"));
    const std::string html = "<p>before</p>" + filled(GetParam().markup, remote, near) + "<p>after</p>";
    const auto text = renderer().attributedStringWithHTML(Data::copying(html), options);
    ASSERT_TRUE(text);
    EXPECT_NE(text->string().find(u"before"), std::u16string_view::npos);
    // What comes after the page has been told is caught here.
    (void)renderer().attributedStringWithHTML(Data::copying("<p>next"), {.delegate = &delegate});
    EXPECT_EQ(remote.visits(), 0);
    // A drawing in the page is there, without what it lacks.
    EXPECT_EQ(text->attachments().size(), GetParam().name == std::string("svg") ? 1u : 0u);
}

constexpr Attempt kAttempts[] = {
    {"image", "<img src=REMOTE/x.gif width=9 height=9>"},
    {"baseAsImage", "<img src='' width=9 height=9><img src=base width=9 height=9>"},
    {"srcset", "<img srcset='REMOTE/a 1x, REMOTE/b 2x'><picture><source srcset=REMOTE/c><img></picture>"},
    {"redirectedImage", "<img src=NEAR/away width=9 height=9>"},
    {"style", "<link rel=stylesheet href=REMOTE/x.css>"},
    {"redirectedStyle", "<link rel=stylesheet href=NEAR/away>"},
    {"import", "<style>@import url(REMOTE/x.css);</style><link rel=stylesheet href=NEAR/style.css>"},
    {"background", "<div style='background:url(REMOTE/x.png);height:9px'>x</div>"},
    {"font", "<style>@font-face{font-family:F;src:url(REMOTE/f.woff)}</style><p style='font-family:F'>x"},
    {"script", "<script src=REMOTE/x.js></script><script type=module src=REMOTE/m.js></script>"},
    {"dynamicImport", "<script>import('REMOTE/m.js').catch(()=>0)</script>"},
    {"frame", "<iframe src=REMOTE/f></iframe><object data=REMOTE/o></object><embed src=REMOTE/e>"},
    {"redirectedFrame", "<iframe src=NEAR/away></iframe>"},
    {"insideFrame", "<iframe src=NEAR/frame></iframe><iframe srcdoc='<img src=REMOTE/x>'></iframe>"},
    {"fetch", "<script>fetch('REMOTE/x',{mode:'no-cors'}).catch(()=>0);fetch('NEAR/away').catch(()=>0)</script>"},
    {"keepalive", "<script>fetch('REMOTE/x',{mode:'no-cors',keepalive:true}).catch(()=>0)</script>"},
    {"xhr", "<script>let x=new XMLHttpRequest;x.open('GET','REMOTE/x');x.send()</script>"},
    {"syncXhr", "<script>try{let x=new XMLHttpRequest;x.open('GET','REMOTE/x',false);x.send()}catch(e){}</script>"},
    {"webSocket", "<script>try{new WebSocket('WSREMOTE/s')}catch(e){}</script>"},
    {"eventSource", "<script>try{new EventSource('REMOTE/e')}catch(e){}</script>"},
    {"worker",
     "<script>try{new Worker('NEAR/worker.js')}catch(e){}try{new Worker(URL.createObjectURL(new Blob(["
     "\"fetch('REMOTE/w');importScripts('REMOTE/i')\"])))}catch(e){}</script>"},
    {"sharedWorker", "<script>try{new SharedWorker('data:text/javascript,fetch(\"REMOTE/s\")')}catch(e){}</script>"},
    {"serviceWorker", "<script>try{navigator.serviceWorker.register('/sw.js')}catch(e){}</script>"},
    {"beacon",
     "<script>navigator.sendBeacon('REMOTE/b','x');addEventListener('pagehide',()=>"
     "navigator.sendBeacon('REMOTE/h','x'))</script>"},
    {"prefetch",
     "<link rel=prefetch href=REMOTE/p><link rel=preload as=image href=REMOTE/q><link rel=modulepreload "
     "href=REMOTE/m><link rel=prerender href=REMOTE/r>"},
    {"preconnect", "<link rel=preconnect href=REMOTE><link rel=dns-prefetch href=//HOSTREMOTE>"},
    {"icon", "<link rel=icon href=REMOTE/i.ico><link rel=manifest href=REMOTE/m>"},
    {"ping", "<a id=a href='#x' ping=REMOTE/p>x</a><script>a.click()</script>"},
    {"metaRefresh", "<meta http-equiv=refresh content='0;url=REMOTE/x'>"},
    {"location", "<script>location='REMOTE/x'</script>"},
    {"laterLocation", "<script>setTimeout(()=>{location='REMOTE/x'},20)</script>"},
    {"formPost", "<form id=f method=post action=REMOTE/p><input name=a></form><script>f.submit()</script>"},
    {"windowOpen", "<script>open('REMOTE/w')</script>"},
    {"media", "<video src=REMOTE/v poster=REMOTE/p autoplay></video><audio src=REMOTE/a autoplay></audio>"},
    {"svg", "<svg width=9 height=9><image href=REMOTE/x width=9 height=9 /><use href='REMOTE/u#a'/></svg>x"},
    {"dataSvg",
     "<img width=9 height=9 src=\"data:image/svg+xml,<svg xmlns='http://www.w3.org/2000/svg'><image "
     "href='REMOTE/x'/></svg\">"},
    {"report",
     "<meta http-equiv=Content-Security-Policy content=\"img-src 'none'; report-uri REMOTE/r\"><img "
     "src=NEAR/x>"},
    {"baseElement", "<base href=REMOTE/><img src=x.gif width=9 height=9>"},
    {"picturesOfStyles",
     "<style>ul{list-style-image:url(REMOTE/l)} p{cursor:url(REMOTE/c),auto;border-image:url(REMOTE/b) 1;"
     "mask-image:url(REMOTE/m)} p:after{content:url(REMOTE/a)} "
     "div{background:image-set('REMOTE/i' 1x);filter:url(REMOTE/f#f);shape-outside:url(REMOTE/s);float:left}"
     "</style><ul><li>x</ul><div>x</div>"},
    {"oldPictures",
     "<body background=REMOTE/b><table background=REMOTE/t><td>x</table><input type=image src=REMOTE/i>"},
    {"reload",
     "<script>if(!performance.getEntriesByType('navigation').some(n=>n.type=='reload'))location.reload()"
     "</script>"},
    {"formGet", "<form id=f action=REMOTE/g><input name=a></form><script>f.submit()</script>"},
    {"formIntoFrame",
     "<iframe name=t></iframe><form id=f target=t method=post action=REMOTE/p></form>"
     "<script>f.submit()</script>"},
    {"refreshInFrame", "<iframe srcdoc='<meta http-equiv=refresh content=\"0;url=REMOTE/r\">'></iframe>"},
    {"frameOfScript", "<iframe src='javascript:fetch(`REMOTE/f`,{mode:`no-cors`});`<img src=REMOTE/j>`'></iframe>"},
    {"headers", "<iframe src=NEAR/headers></iframe>"},
    {"chainOfRedirects",
     "<img src=NEAR/hop width=9 height=9><script>fetch('NEAR/hop').catch(()=>0);"
     "let x=new XMLHttpRequest;x.open('GET','NEAR/hop');x.send()</script>"},
    {"speculation",
     "<script type=speculationrules>{\"prefetch\":[{\"source\":\"list\",\"urls\":[\"REMOTE/s\"]}],"
     "\"prerender\":[{\"source\":\"list\",\"urls\":[\"REMOTE/r\"]}]}</script>"},
    {"writtenWindow", "<script>let w=open('','_self');w.document.write('<img src=REMOTE/w>')</script>before"},
    {"importMap",
     "<script type=importmap>{\"imports\":{\"m\":\"REMOTE/m.js\"}}</script><script type=module>import 'm'"
     "</script>"},
    {"track", "<video><source src=REMOTE/s><track default src=REMOTE/t></video>"},
    {"peer",
     "<script>try{let p=new RTCPeerConnection({iceServers:[{urls:'stun:HOSTREMOTE'}]});"
     "p.createDataChannel('x');p.createOffer().then(o=>p.setLocalDescription(o))}catch(e){}</script>"},
};

INSTANTIATE_TEST_SUITE_P(Attempts, RemoteForbidden, ::testing::ValuesIn(kAttempts),
                         [](const auto& attempt) { return std::string(attempt.param.name); });

// The attempts above are ones that would reach somebody.
TEST(RemoteAllowed, TheSameAttemptsReachTheServer) {
    for (const Attempt& attempt : kAttempts) {
        const std::string_view name = attempt.name;
        const bool isOrdinary = name == "image" || name == "srcset" || name == "style" || name == "import" ||
                                name == "background" || name == "font" || name == "script" || name == "frame" ||
                                name == "fetch" || name == "xhr" || name == "syncXhr" || name == "eventSource" ||
                                name == "svg" || name == "baseElement" || name == "insideFrame" ||
                                name == "picturesOfStyles" || name == "oldPictures" || name == "frameOfScript" ||
                                name == "importMap" || name == "redirectedImage" || name == "chainOfRedirects";
        if (!isOrdinary) continue;
        LoopbackServer remote;
        LoopbackServer near;
        near.answer("/away", LoopbackServer::redirect(remote.address() + "/secret"));
        near.answer("/hop", LoopbackServer::redirect(near.address("localhost") + "/away"));
        near.answer("/never", "");
        std::string html = filled(attempt.markup, remote, near);
        HtmlReadingOptions options{.timeout = 1};
        options.baseURL = URLWithString(utf16FromUtf8(remote.address() + "/base"));
        EXPECT_TRUE(renderer().attributedStringWithHTML(Data::copying(html), options)) << name;
        // What a script begins may not be under way yet when the page is done, unless something else keeps it waiting.
        html += filled("<img src=NEAR/never>", remote, near);
        for (int page = 0; page < 5 && remote.visits() == 0; ++page)
            EXPECT_TRUE(renderer().attributedStringWithHTML(Data::copying(html), options)) << name;
        EXPECT_GT(remote.visits(), 0) << name;
    }
}

TEST(RemoteAllowed, ImagesStylesAndScriptsLoad) {
    LoopbackServer remote;
    remote.answer("/dot.gif", LoopbackServer::ok("image/gif", greyDot()));
    remote.answer("/moved", LoopbackServer::redirect("/dot.gif"));
    remote.answer("/x.css", LoopbackServer::ok("text/css", "p{font-weight:bold}"));
    remote.answer("/x.js", LoopbackServer::ok("text/javascript", "document.querySelector('p').append('script')"));
    const std::string html =
        "<link rel=stylesheet href=/x.css><p>a<img src=/dot.gif width=20 height=8><img src=/moved "
        "width=9 height=9></p><script src=/x.js></script>";
    HtmlReadingOptions options;
    options.baseURL = URLWithString(utf16FromUtf8(remote.address() + "/"));
    const auto text = renderer().attributedStringWithHTML(Data::copying(html), options);
    ASSERT_TRUE(text);
    EXPECT_EQ(text->string(), u"a\uFFFC\uFFFCscript\n");
    EXPECT_TRUE(text->characterAttributesAt(0).font.bold);
    ASSERT_EQ(text->attachments().size(), 2u);
    EXPECT_EQ(text->attachments()[0].attachment->file.data.view(), greyDot());
    EXPECT_EQ(text->attachments()[1].attachment->file.data.view(), greyDot());
    EXPECT_EQ(text->attachments()[0].attachment->size, (Size{15, 6}));
}

TEST(RemoteForbiddenTogether, TheHookHearsOfEachLoadAndRedirect) {
    LoopbackServer near;
    near.answer("/moved", LoopbackServer::redirect("/dot.gif"));
    near.answer("/dot.gif", LoopbackServer::ok("image/gif", greyDot()));
    RecordingDelegate delegate([](const Url&) { return true; });
    const std::string html = "<img src='" + near.address() + "/moved' width=9 height=9>";
    const auto text = renderer().attributedStringWithHTML(Data::copying(html), {.delegate = &delegate});
    ASSERT_TRUE(text);
    const auto heard = [&](const std::string& path) {
        const std::u16string url = utf16FromUtf8(near.address() + path);
        return std::find(delegate.asked.begin(), delegate.asked.end(), url) != delegate.asked.end();
    };
    EXPECT_TRUE(heard("/moved"));
    EXPECT_TRUE(heard("/dot.gif"));
    EXPECT_EQ(text->attachments().size(), 1u);
}

TEST(LocalFiles, AreShownAndNotRead) {
    char folder[] = "/tmp/quarry-web-test-XXXXXX";
    ASSERT_NE(mkdtemp(folder), nullptr);
    const std::string secret = std::string(folder) + "/secret.txt";
    std::ofstream(secret) << "SECRET";
    const std::string url = "file://" + secret;
    const std::string html = "<p id=p>start</p><iframe src='" + url + "' width=99 height=99></iframe><object data='" +
                             url + "'></object><script>const w=t=>p.append(t);fetch('" + url +
                             "').then(r=>r.text()).then(w,e=>w('-'));try{let x=new XMLHttpRequest;x.open('GET','" +
                             url +
                             "',false);x.send();w(x.responseText)}catch(e){w('-')}let f=document.createElement("
                             "'iframe');f.src='" +
                             url +
                             "';f.onload=()=>{try{w(f.contentDocument.body.textContent)}catch(e){w('-')}};"
                             "document.body.append(f)</script>";
    RecordingDelegate delegate([](const Url&) { return true; });
    for (const char* base : {"file:///tmp/page.html", "http://localhost:9/"}) {
        HtmlReadingOptions options{.timeout = 5, .delegate = &delegate};
        options.baseURL = URLWithString(utf16FromUtf8(base));
        const auto text = renderer().attributedStringWithHTML(Data::copying(html), options);
        ASSERT_TRUE(text);
        EXPECT_NE(text->string().find(u"start"), std::u16string_view::npos);
        EXPECT_EQ(text->string().find(u"SECRET"), std::u16string_view::npos) << utf8FromUtf16(text->string());
    }
    std::remove(secret.c_str());
    rmdir(folder);
}

}  // namespace
}  // namespace halden::test
