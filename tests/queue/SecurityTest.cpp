// The configuration of examples/cluster on a real server: TLS, users, and what each of them may do.
#include "queue/Job.h"
#include "queue/Nats.h"
#include "tests/queue/QueueFixture.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <thread>

namespace quarry::test {
namespace {

void replaceOnce(std::string& text, const std::string& old, const std::string& replacement) {
    const std::size_t place = text.find(old);
    ASSERT_NE(place, text.npos) << old;
    text.replace(place, old.size(), replacement);
    ASSERT_EQ(text.find(old, place + replacement.size()), text.npos) << old;
}

/// With the server of the example; only its port, its store and the files of its certificate are other ones.
class QueueSecurity : public QueueFixture {
protected:
    QueueSecurity() {
        makeAuthority("authority");
        makeCertificate("server", "IP:127.0.0.1,DNS:localhost");
        ::setenv("QUARRY_WORKER", "worker-secret", 1);
        ::setenv("QUARRY_SUBMITTER", "submitter-secret", 1);
    }
    ~QueueSecurity() override {
        ::unsetenv("QUARRY_WORKER");
        ::unsetenv("QUARRY_SUBMITTER");
    }

    [[nodiscard]] std::string path(const std::string& name) const { return surroundings_.folder() / name; }
    static void run(const std::string& command) { ASSERT_EQ(std::system(command.c_str()), 0) << command; }
    static std::string newKey(const std::string& name) {
        return "openssl req -x509 -days 2 -newkey ec -pkeyopt ec_paramgen_curve:P-256 -nodes -keyout " + name +
               ".key -out " + name + ".pem";
    }
    void makeAuthority(const std::string& name) const {
        run(newKey(path(name)) + " -subj '/CN=" + name + "' 2> " + path("openssl.log"));
    }
    void makeCertificate(const std::string& name, const std::string& names) const {
        run(newKey(path(name)) + " -subj /CN=documents -CA " + path("authority.pem") + " -CAkey " +
            path("authority.key") + " -addext basicConstraints=critical,CA:FALSE -addext subjectAltName=" + names +
            " 2> " + path("openssl.log"));
    }
    [[nodiscard]] std::string configuration() const {
        std::string text = contents(EXAMPLES_FOLDER "/cluster/nats-server.conf");
        replaceOnce(text, "0.0.0.0:4222", "127.0.0.1:" + std::to_string(port_));
        replaceOnce(text, "/var/lib/nats", path("store"));
        replaceOnce(text, "/etc/nats/server.pem", path("server.pem"));
        replaceOnce(text, "/etc/nats/server.key", path("server.key"));
        return text;
    }
    [[nodiscard]] std::string address(const std::string& scheme, const std::string& user,
                                      const std::string& host = "127.0.0.1") const {
        return scheme + "://" + (user.empty() ? "" : user + "@") + host + ":" + std::to_string(port_);
    }
    /// As one of the example's users, with the right authority.
    Outcome runAs(const std::string& user, std::vector<std::string> arguments, const std::string& input = {}) {
        setServer(address("tls", user + ":" + user + "-secret"));
        arguments.insert(arguments.end(), {"--ca", path("authority.pem")});
        return surroundings_.run(arguments, input);
    }
};

/// Whether the server says so when this is asked, which it does a moment later.
bool isRefused(const queue::Connection& connection, const std::string& subject) {
    queue::check(natsConnection_PublishString(connection.get(), subject.c_str(), "{}"), subject);
    queue::check(natsConnection_FlushTimeout(connection.get(), 5000), subject);
    for (int attempt = 0; attempt < 100; ++attempt) {
        try {
            connection.throwIfRefused();
        } catch (const queue::QueueError& error) {
            if (std::string(error.what()).find('"' + subject + '"') != std::string::npos) {
                return true;
            }
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return false;
}

TEST_F(QueueSecurity, AJobRunsOverTlsWithTheRightsOfTheExample) {
    startConfiguredServer(configuration());
    documents(20);
    surroundings_.write("documents/bad.aborts", "x");
    EXPECT_EQ(runAs("submitter", {"submit", "documents"}).error, "quarry: 21 submitted, 0 of them were there before\n");
    const Outcome worked = runAs("worker", {"worker", "-j", "2", "--until-empty"});
    EXPECT_EQ(worked.status, 0) << worked.error;
    const Outcome state = runAs("submitter", {"queue"});
    EXPECT_EQ(state.out, "0 pending, 0 running (0 redelivered), 21 results, 1 dead\n") << state.error;
    EXPECT_EQ(runAs("worker", {"queue"}).out, state.out);
    for (int collection = 0; collection < 2; ++collection) {
        const Outcome collected = runAs("submitter", {"queue", "--output", "results"});
        EXPECT_EQ(collected.status, 0) << collected.error;
        expectOneResultEach("results", 21);
    }
}

// What the server had lost sight of, and what it gives up, needs more rights than a day on which all goes well.
TEST_F(QueueSecurity, AWorkerMayMendAJobButNotMakeOne) {
    startConfiguredServer(configuration());
    queue::ServerOptions options{.url = address("tls", "worker:worker-secret"),
                                 .credentials = {},
                                 .authority = path("authority.pem"),
                                 .patience = 5};
    documents(1);
    ASSERT_EQ(runAs("submitter", {"submit", "documents"}).status, 0);
    {
        const queue::Connection connection(options);
        const queue::ContextOwner context = connection.context();
        const queue::Job job("default");
        EXPECT_NO_THROW(job.make(context.get()));
        EXPECT_NO_THROW(job.deliverAgain(context.get()));
        // A message that is delivered as often as may be, and never answered, is given up.
        const queue::SubscriptionOwner work = job.subscribeToWork(context.get());
        for (int delivery = 0; delivery < queue::kMostDeliveries; ++delivery) {
            natsMsgList list{};
            jsErrCode code{};
            ASSERT_EQ(natsSubscription_Fetch(&list, work.get(), 1, 5000, &code), NATS_OK);
            queue::check(natsMsg_Nak(list.Msgs[0], nullptr), "nak");
            natsMsgList_Destroy(&list);
            queue::check(natsConnection_Flush(connection.get()), "flush");
        }
        EXPECT_NO_THROW(connection.throwIfRefused());
        for (const char* stream :
             {"STREAM.DELETE.quarry-default", "STREAM.PURGE.quarry-default", "STREAM.CREATE.x",
              "STREAM.UPDATE.quarry-default", "CONSUMER.DELETE.quarry-default-results.collector"}) {
            EXPECT_TRUE(isRefused(connection, std::string("$JS.API.") + stream)) << stream;
        }
    }
    EXPECT_EQ(runAs("worker", {"worker", "--until-empty"}).status, 0);
    const Outcome state = runAs("submitter", {"queue"});
    EXPECT_EQ(state.out, "0 pending, 0 running (0 redelivered), 1 results, 1 dead\n");
}

TEST_F(QueueSecurity, WhatAUserMayNotDoIsNamed) {
    startConfiguredServer(configuration());
    const struct {
        const char* user;
        std::vector<std::string> command;
        const char* subject;
    } rows[] = {
        {"worker", {"worker", "--job", "new", "--until-empty"}, "\"$JS.API.STREAM.CREATE.quarry-new\""},
        {"worker", {"submit", "--job", "mine", "documents"}, "\"quarry.mine.work\""},
        {"worker", {"queue", "--job", "mine", "--output", "r"}, "\"$JS.API.CONSUMER.MSG.NEXT.quarry-mine-results.coll"},
        {"submitter", {"worker", "--job", "mine"}, "\"$JS.API.CONSUMER.MSG.NEXT.quarry-mine."},
    };
    documents(3);
    ASSERT_EQ(runAs("submitter", {"submit", "--job", "mine", "documents"}).status, 0);
    for (const auto& row : rows) {
        const Outcome outcome = runAs(row.user, row.command);
        EXPECT_EQ(outcome.status, 3) << row.subject;
        EXPECT_NE(outcome.error.find("Permissions Violation for Publish to "), std::string::npos) << outcome.error;
        EXPECT_NE(outcome.error.find(row.subject), std::string::npos) << outcome.error;
    }
}

// A worker that may take work and not give results must not take more and more, or wait for them without end.
TEST_F(QueueSecurity, AWorkerWhoseResultsAreRefusedStops) {
    std::string text = configuration();
    replaceOnce(text, "    \"quarry.*.results\"\n", "");
    startConfiguredServer(text);
    documents(3000);
    ASSERT_EQ(runAs("submitter", {"submit", "documents"}).status, 0);
    const Outcome outcome = runAs("worker", {"worker", "-j", "2"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_NE(outcome.error.find("Violation for Publish to \"quarry.default.results\""), std::string::npos)
        << outcome.error;
    EXPECT_TRUE(runAs("submitter", {"queue"}).out.ends_with("0 results, 0 dead\n"));
}

TEST_F(QueueSecurity, AConnectionThatIsNotToBeTrustedIsNamed) {
    makeAuthority("stranger");
    makeCertificate("narrow", "IP:127.0.0.1");
    startConfiguredServer(configuration());
    const std::string authority = path("authority.pem");
    const std::string stranger = path("stranger.pem");
    const std::string absent = path("absent.pem");
    const std::string worker = "worker:worker-secret";
    const struct {
        std::string address;
        std::string authority;
        const char* words;  // null: it works
    } rows[] = {
        {address("tls", worker), authority, nullptr},
        {address("tls", worker, "localhost"), authority, nullptr},
        {address("nats", worker), authority, nullptr},  // the authority asks for TLS
        {address("tls", "worker:wrong"), authority, "the server does not know this user with this password"},
        {address("tls", "nobody:worker-secret"), authority, "the server does not know this user with this password"},
        {address("tls", ""), authority, "neither the address nor --credentials names a user and a password"},
        {address("tls", worker), stranger, "unable to get local issuer certificate"},
        {address("tls", worker), absent, "absent.pem"},
        {address("tls", worker), "", "--ca names the file of the authority that signed its certificate"},
        {address("nats", worker), "", "the server uses TLS: --ca names"},
    };
    const auto expectRow = [&](const auto& row) {
        setServer(row.address);
        std::vector<std::string> words{"queue", "--job", "none", "--wait", "5"};
        if (!row.authority.empty()) {
            words.insert(words.end(), {"--ca", row.authority});
        }
        const Outcome outcome = surroundings_.run(words);
        EXPECT_EQ(outcome.status, 3);
        const char* wanted = row.words != nullptr ? row.words : "quarry-none: Error (stream not found)";
        EXPECT_NE(outcome.error.find(wanted), std::string::npos) << row.address << ": " << outcome.error;
        EXPECT_EQ(outcome.error.find("trying again"), std::string::npos) << outcome.error;
        EXPECT_EQ(outcome.error.find("secret"), std::string::npos) << outcome.error;
        EXPECT_EQ(outcome.error.find(".c:"), std::string::npos) << outcome.error;
    };
    for (const auto& row : rows) {
        expectRow(row);
    }
    stopServer(SIGKILL);
    std::string text = configuration();
    replaceOnce(text, path("server.pem"), path("narrow.pem"));
    replaceOnce(text, path("server.key"), path("narrow.key"));
    startConfiguredServer(text);
    expectRow(rows[0]);
    auto mismatch = rows[1];
    mismatch.words = "hostname mismatch:expected=localhost";
    expectRow(mismatch);
}

// The library gives a connection up whose password is no longer right; nobody would hear of it.
TEST_F(QueueSecurity, AWorkerThatIsNotLetInAgainStops) {
    startServer({"--user", "worker", "--pass", "worker-secret"});
    setServer(address("nats", "worker:worker-secret"));
    ASSERT_EQ(surroundings_.run({"submit"}, "{\"path\": \"/nowhere\"}\n").status, 0);
    const pid_t worker = start({"worker", "--output", "results"});
    const auto isIdle = [&] { return surroundings_.run({"queue"}).out.starts_with("0 pending, 0 running"); };
    for (int attempt = 0; attempt < 200 && !isIdle(); ++attempt) {
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    stopServer(SIGKILL);
    startServer({"--user", "worker", "--pass", "another"});
    EXPECT_EQ(waitForEnd(worker), 3);
    EXPECT_NE(contents(path("output")).find("uthorization Violation"), std::string::npos) << contents(path("output"));
}

// A password goes over TLS or not at all when the address says so.
TEST_F(QueueSecurity, AServerWithoutTlsIsNotToldThePassword) {
    startServer({"--user", "worker", "--pass", "worker-secret"});
    for (const auto& more : {std::vector<std::string>{}, {"--ca", path("authority.pem")}}) {
        setServer(address("tls", "worker:worker-secret"));
        std::vector<std::string> words{"queue"};
        words.insert(words.end(), more.begin(), more.end());
        const Outcome outcome = surroundings_.run(words);
        EXPECT_EQ(outcome.status, 3);
        EXPECT_NE(outcome.error.find("Secure Connection not available"), std::string::npos) << outcome.error;
    }
}

}  // namespace
}  // namespace quarry::test
