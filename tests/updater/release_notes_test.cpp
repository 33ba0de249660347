#include "updater/release_notes.h"

#include <gtest/gtest.h>

using namespace qv;

TEST(ReleaseNotes, KeepWhatNotesNeedAndNothingElse)
{
    const struct {
        const char *page, *kept;
    } cases[] = {
        {"<h2 onclick='x()'>A</h2><p style=\"x>y\">b<br/>c", "<h2>A</h2><p>b<br>c</p>"},
        {"<ul><li>a<li>b<ul><li>c</ul><li>d</ul>",
         "<ul><li>a</li><li>b<ul><li>c</li></ul></li><li>d</li></ul>"},
        {"<p>a<p>b</i></p>", "<p>a</p><p>b</p>"},
        {"<b>a<i>b</b>c", "<b>a<i>b</i></b>c"},
        {"<a href='https://u.example/?a=1&amp;b' target=x>l</a>",
         "<a href=\"https://u.example/?a=1&amp;b\">l</a>"},
        {"<a href='javascript:x()' >l</a><a href=\"file:///x\">m</a>", "<a>l</a><a>m</a>"},
        {"<SCRIPT>if (a < b) '</p>'</SCRIPT>x<style>p{}</style><!-- <b> -->y<!DOCTYPE z>", "xy"},
        {"<script>never ends <p>x", ""},
        {"1 < 2 &amp; <3 <", "1 &lt; 2 &amp; &lt;3 &lt;"},
        {"<img src=x><custom-tag>x</custom-tag></nothing>", "x"},
        {"<p title='", "<p></p>"},
        {"", ""},
    };
    for (const auto &c : cases) {
        EXPECT_EQ(safeNotes(c.page).toStdString(), c.kept);
    }
}

TEST(ReleaseNotes, AreBoundedInDepthAndNumber)
{
    EXPECT_EQ(safeNotes(QString("<b>").repeated(1000)).count("<b>"), 16);
    EXPECT_EQ(safeNotes(QString("<br>").repeated(100'000)).count("<br>"), 4000);
    EXPECT_LT(safeNotes(QString("x").repeated(1'000'000)).size(), 250'000);
}
