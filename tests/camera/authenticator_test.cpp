#include "camera/auth/authenticator.h"

#include <gtest/gtest.h>

using namespace larkmoor::camera;

namespace
{

class AuthenticatorTest : public testing::Test
{
protected:
    Authenticator Make(AuthScheme scheme, bool checksUri = true)
    {
        return {{scheme, "testrealm@host.com", "Aladdin", "open sesame", true, checksUri}, faults};
    }

    void Play(const char* fault)
    {
        std::string error;
        ASSERT_TRUE(faults.Add(fault, error)) << error;
        faults.Begin();
    }

    static std::string NonceOf(const std::string& challenge)
    {
        return ParseAuthParameters(std::string_view(challenge).substr(7))["nonce"];
    }

    /// The answer to `nonce`, with or without "qop".
    static std::string Answer(const std::string& nonce, bool withQop, const std::string& uri = "/a?b=c")
    {
        const DigestInput input{"Aladdin", "testrealm@host.com", "open sesame", "GET",  uri,
                                nonce,     "00000001",           "0a4f113b",    withQop};
        std::string answer = "Digest username=\"Aladdin\", realm=\"testrealm@host.com\", nonce=\"" + nonce +
                             "\", uri=\"" + uri + "\", response=\"" + DigestResponse(input) + "\"";
        return withQop ? answer + ", qop=auth, nc=00000001, cnonce=\"0a4f113b\"" : answer;
    }

    FaultPlan faults;
};

} // namespace

TEST_F(AuthenticatorTest, DigestsAsTheStandardsShow)
{
    // RFC 2617, section 3.5, and the same without qop, as RFC 2069 has it with the values of its erratum 749.
    DigestInput input{"Mufasa",   "testrealm@host.com", "Circle Of Life",
                      "GET",      "/dir/index.html",    "dcd98b7102dd2f0e8b11d0f600bfb0c093",
                      "00000001", "0a4f113b",           true};
    EXPECT_EQ(DigestResponse(input), "6629fae49393a05397450978507c4ef1");
    input.password = "CircleOfLife";
    input.withQop = false;
    EXPECT_EQ(DigestResponse(input), "1949323746fe6a43ef61f9606e7febea");
}

TEST_F(AuthenticatorTest, TakesDigestAnswers)
{
    Authenticator digest = Make(AuthScheme::Digest);
    const std::string challenge = digest.Check("GET", "/a?b=c", "").challenges.at(0);
    EXPECT_NE(challenge.find("qop=\"auth\""), std::string::npos) << challenge;
    EXPECT_EQ(challenge.find("stale"), std::string::npos) << challenge;
    const std::string nonce = NonceOf(challenge);

    EXPECT_TRUE(digest.Check("GET", "/a?b=c", Answer(nonce, true)).granted);
    EXPECT_TRUE(digest.Check("GET", "/a?b=c", Answer(nonce, true)).granted) << "the nonce serves again";
    EXPECT_TRUE(digest.Check("GET", "/a?b=c", Answer(nonce, false)).granted);

    std::string wrong = Answer(nonce, true);
    wrong.replace(wrong.find("response=\"") + 10, 4, "beef");
    EXPECT_FALSE(digest.Check("GET", "/a?b=c", wrong).granted);
    EXPECT_FALSE(digest.Check("PUT", "/a?b=c", Answer(nonce, true)).granted);
    EXPECT_FALSE(digest.Check("GET", "/other", Answer(nonce, true)).granted) << "made for another address";
    EXPECT_FALSE(digest.Check("GET", "/a?b=c", "Digest").granted);

    const Authenticator::Verdict stale = digest.Check("GET", "/a?b=c", Answer("0123", true));
    EXPECT_FALSE(stale.granted);
    EXPECT_NE(stale.challenges.at(0).find("stale=true"), std::string::npos)
        << "right password, unknown nonce";

    Authenticator lax = Make(AuthScheme::Digest, false);
    const std::string other = NonceOf(lax.Check("GET", "/", "").challenges.at(0));
    EXPECT_TRUE(lax.Check("GET", "rtsp://host/live.sdp/track1", Answer(other, false, "rtsp://host/live.sdp"))
                    .granted);
}

TEST_F(AuthenticatorTest, PlaysRefusals)
{
    Authenticator none = Make(AuthScheme::None);
    EXPECT_TRUE(none.Check("GET", "/", "").granted);
    Play("http-401-once");
    EXPECT_FALSE(none.Check("GET", "/", "").granted);
    EXPECT_TRUE(none.Check("GET", "/", "").granted);

    Authenticator basic = Make(AuthScheme::Basic);
    Play("auth-both=digest-first");
    const std::vector<std::string> both = basic.Check("GET", "/", "").challenges;
    ASSERT_EQ(both.size(), 2u);
    EXPECT_TRUE(both[0].starts_with("Digest ") && both[1].starts_with("Basic "));
    EXPECT_TRUE(basic.Check("GET", "/a?b=c", Answer(NonceOf(both[0]), true)).granted);
    EXPECT_TRUE(basic.Check("GET", "/", "Basic QWxhZGRpbjpvcGVuIHNlc2FtZQ==").granted);

    Play("auth-refuse");
    EXPECT_FALSE(basic.Check("GET", "/", "Basic QWxhZGRpbjpvcGVuIHNlc2FtZQ==").granted);
}
