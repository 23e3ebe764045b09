// Devices reached through an HTTP proxy: each request carries its own
// device's proxy, port and login, and a device without one goes direct.
#include "CycleFixture.h"
#include "net/AutoConfiguration.h"
#include "net/DeviceUrl.h"
#include "tests/support/ProxyServer.h"

#include <gtest/gtest.h>

using namespace cz;
using namespace cz::test;

namespace {

constexpr ProbeType T = ProbeType::Temperature;

void useProxy(DeviceFields &d, const QByteArray &address, int port, const QByteArray &user = {},
              const QByteArray &password = {})
{
    d.UseProxy = 1;
    d.ProxyServerAddress = address;
    d.ProxyServerPort = port;
    d.ProxyServerUserName = user;
    d.ProxyServerPassword = password;
}

bool cameThroughTinyproxy(const devsim::SimRequest &r)
{
    return r.via.contains("tinyproxy");
}

} // namespace

TEST(DeviceProxy, AProxyGivenByAddressAndPortFieldCarriesTheDeviceAndTheNextDeviceGoesDirect)
{
    ProxyServer proxy("operator", "secret");
    ASSERT_TRUE(proxy.running()) << proxy.errorString().toStdString();
    CycleFixture f;
    DeviceRecord &proxied = f.addSimulated(simDevice("Model R4", {70}), {T});
    f.addSimulated(simDevice("Model R4", {71}), {T});
    useProxy(proxied, "127.0.0.1", proxy.port(), "operator", "secret");
    f.tick();
    EXPECT_EQ(f.evaluation.textsFor(0), QList<QByteArray>{"70.0"});
    EXPECT_EQ(f.evaluation.textsFor(1), QList<QByteArray>{"71.0"});
    ASSERT_EQ(f.sim.requests(0).size(), 1);
    EXPECT_TRUE(cameThroughTinyproxy(f.sim.requests(0)[0]));
    ASSERT_EQ(f.sim.requests(1).size(), 1);
    EXPECT_TRUE(f.sim.requests(1)[0].via.isEmpty());
    EXPECT_EQ(proxy.requestLines(),
              QList<QByteArray>{"GET http://127.0.0.1:" + QByteArray::number(f.sim.port(0)) + "/temp HTTP/1.1"});
    EXPECT_TRUE(f.errorLog().isEmpty());
}

TEST(DeviceProxy, APortWrittenInTheAddressWinsOverThePortField)
{
    ProxyServer proxy;
    ASSERT_TRUE(proxy.running()) << proxy.errorString().toStdString();
    CycleFixture f;
    DeviceRecord &d = f.addSimulated(simDevice("Model R4", {72}), {T});
    useProxy(d, "127.0.0.1:" + QByteArray::number(proxy.port()), freeLoopbackPort());
    f.tick();
    EXPECT_EQ(f.evaluation.textsFor(0), QList<QByteArray>{"72.0"});
    ASSERT_EQ(f.sim.requests(0).size(), 1);
    EXPECT_TRUE(cameThroughTinyproxy(f.sim.requests(0)[0]));
}

TEST(DeviceProxy, AWrongLoginIsRefusedByTheProxyAndNoLoginIsSentWithoutAUserName)
{
    ProxyServer proxy("operator", "secret");
    ASSERT_TRUE(proxy.running()) << proxy.errorString().toStdString();
    CycleFixture f;
    // The simulator's own port stands in for a proxy that records headers.
    const int recorder = f.sim.addDevice(simDevice("Model R4", {99}, "Recorder"));
    DeviceRecord &wrong = f.addSimulated(simDevice("Model R4", {70}), {T});
    DeviceRecord &anonymous = f.addSimulated(simDevice("Model R4", {71}), {T});
    useProxy(wrong, "127.0.0.1", proxy.port(), "operator", "guess");
    useProxy(anonymous, "127.0.0.1", f.sim.port(recorder));
    f.tick();
    EXPECT_TRUE(f.sim.requests(1).isEmpty());
    EXPECT_EQ(proxy.requestLines().size(), 1);
    const auto seen = f.sim.requests(recorder);
    ASSERT_EQ(seen.size(), 1);
    EXPECT_EQ(seen[0].requestLine, "GET http://127.0.0.1:" + QByteArray::number(f.sim.port(2)) + "/temp HTTP/1.1");
    EXPECT_TRUE(seen[0].proxyAuthorization.isEmpty());
}

TEST(DeviceProxy, AutoConfigureGoesThroughTheTypedProxy)
{
    ProxyServer proxy("operator", "secret");
    ASSERT_TRUE(proxy.running()) << proxy.errorString().toStdString();
    NetFixture f;
    const int device = f.sim.addDevice(simDevice("Model R16", {70}, "Behind Proxy"));
    DeviceFields typed;
    useProxy(typed, "127.0.0.1", proxy.port(), "operator", "secret");
    AutoConfigRequest request;
    request.address = "127.0.0.1";
    request.port = f.sim.port(device);
    request.proxy = deviceProxy(typed);
    DeviceAutoConfiguration service(f.store(), f.session);
    AutoConfigResult result;
    bool done = false;
    service.fetchDeviceConfiguration(request, [&](const AutoConfigResult &r) {
        result = r;
        done = true;
    });
    ASSERT_TRUE(waitUntil([&] { return done; }));
    EXPECT_TRUE(result.ok);
    EXPECT_EQ(result.configuration.name.bytes(), "Behind Proxy");
    const auto seen = f.sim.requests(device);
    ASSERT_FALSE(seen.isEmpty());
    for (const auto &r : seen)
        EXPECT_TRUE(cameThroughTinyproxy(r)) << r.requestLine.toStdString();
    // Switched off, the same typed proxy is not used.
    typed.UseProxy = 0;
    EXPECT_TRUE(deviceProxy(typed).address.isEmpty());
}
