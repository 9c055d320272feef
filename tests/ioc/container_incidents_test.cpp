#include <kq/ioc/container.h>

#include "support/thrown.h"

#include <gtest/gtest.h>

#include <any>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using kq::IoC::ContainerIncident;
using kq::IoC::CreateContainer;

namespace {

/// A listener that notes the message after its own name.
auto Noting(std::string& notes, const std::string& name) {
    return [&notes, name](const ContainerIncident& incident) {
        notes += name + incident.message + " ";
    };
}

TEST(ContainerIncidents, ReachEveryListenerInTheOrderOfConnection) {
    const auto container = CreateContainer();
    std::string notes;
    const auto first = container->ConnectIncidents(Noting(notes, "a"));
    const auto second = container->ConnectIncidents(Noting(notes, "b"));
    container->ReportIncident({"key", "1", {}});
    container->ReportIncident({"key", "2", {}});
    EXPECT_EQ(notes, "a1 b1 a2 b2 ");
}

TEST(ContainerIncidents, NeedNoListener) {
    const auto container = CreateContainer();
    container->ReportIncident({"key", "unheard", {}});
    std::string notes;
    const auto late = container->ConnectIncidents(Noting(notes, ""));
    EXPECT_EQ(notes, "");
}

TEST(ContainerIncidents, ArriveWhole) {
    const auto container = CreateContainer();
    ContainerIncident heard;
    const auto listening = container->ConnectIncidents(
        [&heard](ContainerIncident incident) { heard = std::move(incident); });
    const ContainerIncident incident{"key", "message", std::string("detail")};
    container->ReportIncident(incident);
    EXPECT_EQ(heard.key, "key");
    EXPECT_EQ(heard.message, "message");
    EXPECT_EQ(std::any_cast<std::string>(heard.detail), "detail");
    EXPECT_EQ(incident.message, "message") << "each listener has its own copy";
}

TEST(ContainerIncidents, AreHeardUntilTheTokenIsReleased) {
    const auto container = CreateContainer();
    std::string notes;
    auto token = container->ConnectIncidents(Noting(notes, ""));
    auto copy = token;
    token.reset();
    container->ReportIncident({"key", "1", {}});
    copy.reset();
    container->ReportIncident({"key", "2", {}});
    EXPECT_EQ(notes, "1 ");
}

TEST(ContainerIncidents, ATokenMayOutliveTheContainer) {
    std::string notes;
    auto container = CreateContainer();
    const auto token = container->ConnectIncidents(Noting(notes, ""));
    container.reset();
    EXPECT_EQ(notes, "");
}

TEST(ContainerIncidents, AreHeardOnTheThreadThatReports) {
    const auto container = CreateContainer();
    std::thread::id heardOn;
    const auto listening = container->ConnectIncidents(
        [&heardOn](const ContainerIncident&) { heardOn = std::this_thread::get_id(); });
    std::thread::id reportedOn;
    std::thread([&] {
        reportedOn = std::this_thread::get_id();
        container->ReportIncident({});
    }).join();
    EXPECT_EQ(heardOn, reportedOn);
    EXPECT_NE(heardOn, std::this_thread::get_id());
}

TEST(ContainerIncidents, AListenerMayUseTheContainer) {
    const auto container = CreateContainer();
    container->AppendRemovable(1, "key");
    std::string notes;
    kq::signal::Connection late;
    const auto listening = container->ConnectIncidents([&](const ContainerIncident& incident) {
        container->SetEntry(incident.message, incident.key);
        container->RemoveRemovable("key");
        const auto clone = container->Clone();
        notes += std::any_cast<std::string>(clone->GetEntry(incident.key)) + " ";
        if (late == nullptr) {
            late = container->ConnectIncidents(Noting(notes, "late "));
            container->ReportIncident({incident.key, "nested", {}});
        }
    });
    container->ReportIncident({"key", "outer", {}});
    EXPECT_EQ(notes, "outer nested late nested ");
}

TEST(ContainerIncidents, WhatAListenerThrowsLeavesTheReport) {
    const auto container = CreateContainer();
    std::string notes;
    const auto before = container->ConnectIncidents(Noting(notes, "before "));
    auto failing = container->ConnectIncidents(
        [](const ContainerIncident&) { throw std::out_of_range("from the listener"); });
    const auto after = container->ConnectIncidents(Noting(notes, "after "));
    EXPECT_EQ(ThrownText<std::out_of_range>([&] {
                  container->ReportIncident({"", "1", {}});
              }),
              "from the listener");
    EXPECT_EQ(notes, "before 1 ");
    failing.reset();
    container->ReportIncident({"", "2", {}});
    EXPECT_EQ(notes, "before 1 before 2 after 2 ");
}

TEST(ContainerIncidents, AnEmptyListenerFailsOnlyTheReport) {
    const auto container = CreateContainer();
    const std::function<void(ContainerIncident)> nobody;
    auto token = container->ConnectIncidents(nobody);
    EXPECT_THROW(container->ReportIncident({}), std::bad_function_call);
    token.reset();
    EXPECT_NO_THROW(container->ReportIncident({}));
}

TEST(ContainerIncidents, AClonesAreItsOwn) {
    const auto container = CreateContainer();
    std::string notes;
    const auto listening = container->ConnectIncidents(Noting(notes, "source "));
    const auto clone = container->Clone();
    clone->ReportIncident({"", "1", {}});
    EXPECT_EQ(notes, "");
    const auto listeningToClone = clone->ConnectIncidents(Noting(notes, "clone "));
    container->ReportIncident({"", "2", {}});
    clone->ReportIncident({"", "3", {}});
    EXPECT_EQ(notes, "source 2 clone 3 ");
}

} // namespace
