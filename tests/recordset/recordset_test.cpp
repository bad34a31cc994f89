// Recordsets built in memory: the cursor, changes, the connection rule, and
// the same members reached by name as a late-bound caller reaches them.
#include <gtest/gtest.h>

#include "vantrove/recordset.hpp"

namespace vantrove {
namespace {

int32_t ErrorOf(const std::function<void()>& f) {
  try {
    f();
  } catch (const RuntimeError& e) {
    return e.number();
  }
  return 0;
}

RecordsetRef People() {
  RecordsetRef rs = Recordset::Create();
  rs->AppendField("Name", adtype::kVarChar, 20);
  rs->AppendField("Age", adtype::kInteger);
  rs->Open();
  const std::vector<Variant> fields = {Variant("Name"), Variant("Age")};
  for (auto [name, age] : {std::pair{"Ann", 31}, {"Bob", 45}, {"Cy", 27}}) {
    rs->AddNew(Variant(SafeArray::Vector(fields)), Variant(SafeArray::Vector({Variant(name), Variant(int32_t{age})})));
  }
  rs->MoveFirst();
  return rs;
}

TEST(Recordset, CursorWalksAndStopsAtTheEnds) {
  RecordsetRef rs = People();
  EXPECT_EQ(rs->RecordCount(), 3);
  EXPECT_FALSE(rs->IsBOF());
  EXPECT_EQ(CStr(rs->Value("name")), "Ann");
  rs->MoveLast();
  EXPECT_EQ(CStr(rs->Value(0)), "Cy");
  rs->MoveNext();
  EXPECT_TRUE(rs->IsEOF());
  EXPECT_EQ(ErrorOf([&] { rs->MoveNext(); }), aderr::kNoCurrentRecord);
  EXPECT_EQ(ErrorOf([&] { rs->Value(0); }), aderr::kNoCurrentRecord);
  rs->MoveFirst();
  rs->MovePrevious();
  EXPECT_TRUE(rs->IsBOF());
  EXPECT_EQ(ErrorOf([&] { rs->MovePrevious(); }), aderr::kNoCurrentRecord);
  rs->Move(2);
  EXPECT_EQ(CStr(rs->Value(0)), "Bob");
  EXPECT_EQ(rs->AbsolutePosition(), 2);
  // Values take the field's type: text fields hold text.
  rs->SetValue(0, Variant(int32_t{12}));
  EXPECT_TRUE(rs->Value(0).IsString());
  EXPECT_EQ(rs->Value(1).type(), VarType::Long);
}

TEST(Recordset, ChangesAddDeleteAndCancel) {
  RecordsetRef rs = People();
  rs->MoveNext();  // Bob
  rs->Delete();
  EXPECT_EQ(rs->RecordCount(), 2);
  EXPECT_EQ(ErrorOf([&] { rs->Value(0); }), aderr::kNoCurrentRecord);  // the deleted record is current
  rs->MoveNext();
  EXPECT_EQ(CStr(rs->Value(0)), "Cy");

  rs->AddNew();
  rs->SetValue(0, Variant("Dee"));
  rs->CancelUpdate();
  EXPECT_EQ(rs->RecordCount(), 2);
  EXPECT_EQ(CStr(rs->Value(0)), "Cy");

  rs->SetValue(0, Variant("Cyril"));
  rs->CancelUpdate();
  EXPECT_EQ(CStr(rs->Value(0)), "Cy");
  rs->SetValue(0, Variant("Cyril"));
  rs->Update();
  rs->UpdateBatch();
  EXPECT_EQ(CStr(rs->Value(0)), "Cyril");

  // A filter sees the records as they are now.
  rs->SetFilter(Variant("Name LIKE 'c*'"));
  EXPECT_EQ(rs->RecordCount(), 1);
}

TEST(Recordset, OpenCloseAndFields) {
  RecordsetRef rs = Recordset::Create();
  EXPECT_EQ(rs->State(), kStateClosed);
  EXPECT_EQ(ErrorOf([&] { rs->RecordCount(); }), aderr::kObjectClosed);
  rs->AppendField("A", adtype::kVarChar, 5);
  EXPECT_EQ(ErrorOf([&] { rs->AppendField("a", adtype::kVarChar); }), aderr::kObjectInCollection);
  rs->Open();
  EXPECT_EQ(rs->State(), kStateOpen);
  EXPECT_TRUE(rs->IsBOF() && rs->IsEOF());
  rs->MoveFirst();  // no error on an empty recordset
  EXPECT_EQ(ErrorOf([&] { rs->AppendField("B", adtype::kVarChar); }), aderr::kIllegalOperation);
  EXPECT_EQ(ErrorOf([&] { rs->Open(); }), aderr::kObjectOpen);
  EXPECT_EQ(ErrorOf([&] { rs->ResolveField(Variant("Nope")); }), aderr::kItemNotFound);
  EXPECT_EQ(ErrorOf([&] { rs->ResolveField(Variant(int32_t{3})); }), aderr::kItemNotFound);
  rs->Close();
  EXPECT_EQ(ErrorOf([&] { rs->Close(); }), aderr::kObjectClosed);
  rs->Open();  // the appended fields outlive Close
  EXPECT_EQ(rs->FieldCount(), 1);
  EXPECT_EQ(rs->FieldDefinedSize(0), 5);
}

TEST(Recordset, AcceptsTheXmlProviderAndDatabaseConnections) {
  RecordsetRef rs = Recordset::Create();
  for (const std::string& c : XmlProviderConnectionStrings()) {
    EXPECT_EQ(ErrorOf([&] { rs->SetActiveConnection(Variant(c)); }), 0) << c;
  }
  EXPECT_EQ(XmlProviderConnectionStrings().size(), 5u);
  for (const char* bad : {"Provider=MSDAOSP; Data Source=MSXML2.DSOControl.6.0;",
                          "provider=msdaosp; data source=msxml2.dsocontrol;",
                          "Provider=Microsoft.Jet.OLEDB.4.0;Data Source=x.mdb"}) {
    try {
      rs->SetActiveConnection(Variant(bad));
      ADD_FAILURE() << bad;
    } catch (const RuntimeError& e) {
      EXPECT_EQ(e.number(), aderr::kProviderNotFound);
      EXPECT_NE(e.description().find(bad), std::string::npos);
    }
  }
  // Database connections (a data source name, an ODBC string) reach ODBC.
  EXPECT_EQ(ErrorOf([&] { rs->SetActiveConnection(Variant("DSN=Parts")); }), 0);
  EXPECT_EQ(ErrorOf([&] { rs->SetActiveConnection(Variant("Driver=SQLite3;Database=parts.db;")); }), 0);
  RecordsetRef fresh = Recordset::Create();
  EXPECT_EQ(ErrorOf([&] { fresh->Open(Variant("/nowhere/file.xml")); }), aderr::kInvalidConnection);
  EXPECT_EQ(ErrorOf([&] { fresh->Open(Variant("/nowhere/file.xml"), Variant(XmlProviderConnectionStrings()[2])); }),
            aderr::kOpeningFile);
}

// The late-bound members, as a script or the rpc protocol drives them.
TEST(Recordset, MembersByName) {
  ObjectRef rs = CreateObject("ADODB.Recordset");
  ASSERT_TRUE(rs);
  EXPECT_EQ(rs->ClassName(), "Recordset");
  EXPECT_TRUE(CreateObject("recordset"));
  const Variant fields = GetProperty(rs, "Fields");
  CallMethod(fields.object(), "Append", {Variant("Part"), Variant(adtype::kVarChar), Variant(int32_t{10})});
  CallMethod(fields.object(), "append", {Variant("Qty"), Variant(adtype::kInteger)});
  CallMethod(rs, "Open");
  CallMethod(rs, "AddNew",
             {Variant(SafeArray::Vector({Variant("Part"), Variant("Qty")})),
              Variant(SafeArray::Vector({Variant("bolt"), Variant(int32_t{4})}))});
  CallMethod(rs, "AddNew");
  SetProperty(rs, "Collect", Variant("nut"), {Variant("Part")});
  SetProperty(GetProperty(rs, "Fields", {Variant(int32_t{1})}).object(), "Value", Variant(int32_t{9}));
  CallMethod(rs, "Update");
  EXPECT_EQ(CLng(GetProperty(rs, "RecordCount")), 2);
  EXPECT_EQ(CLng(GetProperty(GetProperty(rs, "Fields").object(), "Count")), 2);
  CallMethod(rs, "MoveFirst");
  const Variant part = GetProperty(rs, "Fields", {Variant("PART")});
  EXPECT_EQ(CStr(GetProperty(part.object(), "Name")), "Part");
  EXPECT_EQ(CStr(GetProperty(part.object(), "Value")), "bolt");
  EXPECT_EQ(CLng(GetProperty(part.object(), "Type")), adtype::kVarChar);
  EXPECT_EQ(CLng(GetProperty(part.object(), "DefinedSize")), 10);
  EXPECT_EQ(CLng(GetProperty(part.object(), "ActualSize")), 4);
  EXPECT_EQ(CStr(GetProperty(GetProperty(rs, "", {Variant("Part")}).object(), "")), "bolt");  // rs("Part")
  SetProperty(rs, "Filter", Variant("Qty > 5"));
  EXPECT_EQ(CLng(GetProperty(rs, "RecordCount")), 1);
  EXPECT_EQ(CStr(GetProperty(rs, "Filter")), "Qty > 5");
  EXPECT_FALSE(CBool(GetProperty(rs, "EOF")));
  CallMethod(rs, "MoveNext");
  EXPECT_TRUE(CBool(GetProperty(rs, "EOF")));
  EXPECT_EQ(CLng(GetProperty(rs, "State")), kStateOpen);
  CallMethod(rs, "Close");
  EXPECT_EQ(CLng(GetProperty(rs, "State")), kStateClosed);
  EXPECT_EQ(ErrorOf([&] { CallMethod(rs, "Frobnicate"); }), err::kNoSuchMember);
  EXPECT_EQ(ErrorOf([&] { SetProperty(rs, "ActiveConnection", Variant("Provider=NoSuchProvider;")); }),
            aderr::kProviderNotFound);
}

}  // namespace
}  // namespace vantrove
