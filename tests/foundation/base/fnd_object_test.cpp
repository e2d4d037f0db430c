#include "foundation/base/fnd_object.h"

#include <gtest/gtest.h>

#include <csignal>
#include <memory>
#include <string>

#include "foundation/textio/tio_log_policy.h"
#include "message_test_support.h"

using namespace message_test;

namespace {

// A small hierarchy: Shape <- Circle, Shape <- Square (siblings).
class Shape : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(Shape)
public:
    explicit Shape(long Id = 0) : Id(Id) {}
    long Id;
    long Is_Equal(const Fnd_Object& Other) const override { return Convert(&Other)->Id == Id; }
    long Hash() const override { return Id * 31; }
};

class Circle : public Shape {
    FND_OBJECT_MEMBERS(Circle, Shape)
public:
    explicit Circle(long Id = 0, long Radius = 0) : Shape(Id), Radius(Radius) {}
    long Radius;
    static inline int Is_Equal_Calls = 0;
    long Is_Equal(const Fnd_Object& Other) const override {
        ++Is_Equal_Calls;
        const Circle* other = Convert(&Other);
        return Shape::Is_Equal(Other) && other->Radius == Radius;
    }
};

class Square : public Shape {
    FND_OBJECT_MEMBERS(Square, Shape)
public:
    using Shape::Shape;
};

// A diamond through virtual inheritance: one Base part.
class Base : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(Base)
};
class Left : public virtual Base {
    FND_OBJECT_MEMBERS(Left, Base)
};
class Right : public virtual Base {
    FND_OBJECT_MEMBERS(Right, Base)
};
class Diamond : public Left, public Right {
    FND_OBJECT_MEMBERS(Diamond, Left, Right)
};

// Two plain copies of a base: two Plain parts, one Fnd_Object part.
class Plain : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(Plain)
};
class Plain_Left : public Plain {
    FND_OBJECT_MEMBERS(Plain_Left, Plain)
};
class Plain_Right : public Plain {
    FND_OBJECT_MEMBERS(Plain_Right, Plain)
};
class Two_Copies : public Plain_Left, public Plain_Right {
    FND_OBJECT_MEMBERS(Two_Copies, Plain_Left, Plain_Right)
};

// A class that cannot be copied keeps the failing Clone.
class Uncopyable : public virtual Fnd_Object {
    FND_OBJECT_MEMBERS(Uncopyable)
public:
    Uncopyable() = default;
    Uncopyable(const Uncopyable&) = delete;
};

// A class that names its own type but inherits Circle's Clone: copying it as a Circle
// would lose its type, so the inherited Clone refuses.
class Ring : public Circle {
public:
    static constexpr Code_Unit My_Type_Name[] = u"Ring";
    const Code_Unit* Object_Type() const override { return My_Type_Name; }
};

// Two classes whose names read the same are still two types.
namespace first { class Same : public virtual Fnd_Object { FND_OBJECT_MEMBERS(Same) }; }
namespace second { class Same : public virtual Fnd_Object { FND_OBJECT_MEMBERS(Same) }; }

std::u16string Text(const Code_Unit* s) { return s; }

TEST(FndObjectTest, TypeIdentityIsTheAddressOfTheName) {
    Circle c;
    EXPECT_EQ(c.Object_Type(), Circle::My_Type);
    EXPECT_EQ(Text(Circle::My_Type), u"Circle");
    EXPECT_EQ(Text(Fnd_Object::My_Type), u"Fnd_Object");
    EXPECT_EQ(Text(first::Same::My_Type), Text(second::Same::My_Type));
    EXPECT_NE(first::Same::My_Type, second::Same::My_Type);
    first::Same s;
    EXPECT_EQ(second::Same::Convert(&s), nullptr);
    EXPECT_NE(Fnd_Predefined_Class_Id::Long, Fnd_Predefined_Class_Id::Unsigned_Long);
}

TEST(FndObjectTest, ConvertFollowsTheClassTree) {
    EXPECT_EQ(Shape::Convert(nullptr), nullptr);
    Circle c(1, 2);
    const Fnd_Object* object = &c;
    EXPECT_EQ(Shape::Convert(object), static_cast<Shape*>(&c));
    EXPECT_EQ(Circle::Convert(object), &c);
    EXPECT_EQ(Square::Convert(object), nullptr);  // siblings
    EXPECT_EQ(Base::Convert(object), nullptr);    // unrelated
    EXPECT_TRUE(c.Is_A(Fnd_Object::My_Type));
    EXPECT_TRUE(c.Is_A(Shape::My_Type));
    EXPECT_FALSE(c.Is_A(Square::My_Type));
    EXPECT_FALSE(c.Is_A(Fnd_Predefined_Class_Id::Null));
}

TEST(FndObjectTest, ADiamondThroughVirtualBasesIsUnambiguousTwoPlainCopiesAreNot) {
    Diamond d;
    const Fnd_Object* object = static_cast<const Left&>(d).Convert(&d);
    EXPECT_EQ(object, static_cast<Fnd_Object*>(&d));
    Base* base = Base::Convert(object);
    ASSERT_NE(base, nullptr);
    EXPECT_EQ(base, static_cast<Base*>(&d));
    EXPECT_EQ(Left::Convert(object), static_cast<Left*>(&d));
    EXPECT_EQ(Right::Convert(object), static_cast<Right*>(&d));
    EXPECT_EQ(Diamond::Convert(base), &d);  // down-cast from the shared part
    EXPECT_TRUE(d.Is_A(Base::My_Type));

    // Two plain copies of a base are ambiguous.
    Two_Copies t;
    object = static_cast<Fnd_Object*>(&t);
    EXPECT_EQ(Plain::Convert(object), nullptr);
    EXPECT_TRUE(t.Is_A(Plain::My_Type));  // ambiguous still counts as "is a"
    EXPECT_EQ(Plain_Left::Convert(object), static_cast<Plain_Left*>(&t));
    EXPECT_EQ(Plain_Right::Convert(object), static_cast<Plain_Right*>(&t));
    EXPECT_EQ(Two_Copies::Convert(object), &t);
    // The walk stops at the ambiguity and reports it; each part alone converts.
    void* result = nullptr;
    Fnd_Cast_Status status = Fnd_Cast_Searching;
    t.Do_Convert(result, Plain::My_Type, status);
    EXPECT_EQ(status, Fnd_Cast_Ambiguous);
    EXPECT_EQ(result, nullptr);
    Plain_Left& left = t;
    EXPECT_EQ(Plain::Convert(static_cast<Fnd_Object*>(&left)), nullptr);  // same object
}

TEST(FndObjectTest, CloneCopiesTheDynamicType) {
    Circle c(7, 3);
    const Fnd_Object& original = c;
    std::unique_ptr<Fnd_Object> copy(original.Clone());
    ASSERT_NE(copy, nullptr);
    EXPECT_NE(copy.get(), static_cast<const Fnd_Object*>(&c));
    EXPECT_EQ(copy->Object_Type(), Circle::My_Type);
    Circle* circle = Circle::Convert(copy.get());
    ASSERT_NE(circle, nullptr);
    EXPECT_EQ(circle->Id, 7);
    EXPECT_EQ(circle->Radius, 3);
    EXPECT_TRUE(*copy == original);
}

TEST(FndObjectTest, EqualityChecksTypesBeforeIsEqual) {
    Circle::Is_Equal_Calls = 0;
    Circle a(1, 2), b(1, 2), c(1, 5);
    Square s(1);
    EXPECT_TRUE(a == b);
    EXPECT_FALSE(a == c);
    EXPECT_EQ(Circle::Is_Equal_Calls, 2);
    EXPECT_FALSE(a == s);  // same Id, different type: no call of Is_Equal
    EXPECT_FALSE(static_cast<const Fnd_Object&>(s) == a);
    EXPECT_EQ(Circle::Is_Equal_Calls, 2);
    EXPECT_EQ(a.Hash(), b.Hash());
    EXPECT_NE(a.Hash(), Shape(2).Hash());
    Base x, y;
    EXPECT_TRUE(x == y);  // the root's rule: same type is equal
}

// The failures report through the assertion and log paths with the shipped catalogs.
class FndObjectDeathTest : public ::testing::Test {
protected:
    void SetUp() override {
        Pin_Language();
        Use_Catalogs(Shipped_Catalogs());
    }
};
using FndReportTest = FndObjectDeathTest;

// What Action writes to standard output, where the log goes; standard error stays empty.
template <class Action>
// What Run writes to the log stream, with its clock pinned at 22:13:20 (UTC).
std::string Logged(Action Run) {
    Tio_Log_Policy::Set_Clock([] { return Hst_Timestamp(1700000000); });
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    Run();
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    Tio_Log_Policy::Set_Clock(nullptr);
    return ::testing::internal::GetCapturedStdout();
}

// The single line an assertion leaves on standard error before the abort.
std::string Assertion(const std::string& Text) {
    return "^\\*\\*\\* internal error: " + Text + "\n$";
}

TEST_F(FndObjectDeathTest, ProgrammingErrorsEndTheProcess) {
    const auto aborted = ::testing::KilledBySignal(SIGABRT);
    Uncopyable u;
    EXPECT_EXIT(u.Clone(), aborted, Assertion("objects of class Uncopyable cannot be copied"));
    Ring r;
    EXPECT_EXIT(r.Clone(), aborted, Assertion("objects of class Ring cannot be copied"));
    Base b;
    EXPECT_EXIT(b.Hash(), aborted, Assertion("objects of class Base have no hash"));
    Left l;
    EXPECT_EXIT(b.Fnd_Object::Is_Equal(l), aborted,
                Assertion("an object of class Base was compared with an object of another type"));
    Fnd_Is_Checker checker(Base::My_Type);
    EXPECT_EXIT(checker.Hash(), aborted, Assertion("objects of class Fnd_Is_Checker have no hash"));
}

TEST(FndTypeCheckerTest, ChecksExactTypesAndComparesAllFields) {
    Fnd_Is_Checker checker(Shape::My_Type);
    EXPECT_EQ(checker.Fatal, 1);
    EXPECT_EQ(checker.Report, 1);
    Shape shape;
    EXPECT_EQ(checker.Type_Check(static_cast<const Fnd_Object*>(nullptr)), 1);
    EXPECT_EQ(checker.Type_Check(&shape), 1);
    EXPECT_EQ(checker.Type_Check(Shape::My_Type), 1);
    EXPECT_EQ(checker.Type_Check(Circle::My_Type, Shape::My_Type), 1);

    // Equality compares all three fields.
    Fnd_Is_Checker a(Shape::My_Type), b(Shape::My_Type), c(Circle::My_Type);
    EXPECT_TRUE(a == b);
    EXPECT_FALSE(a == c);
    b.Report = 0;
    EXPECT_FALSE(a == b);
    std::unique_ptr<Fnd_Object> clone(b.Clone());
    EXPECT_EQ(clone->Object_Type(), Fnd_Is_Checker::My_Type);
    EXPECT_TRUE(*clone == b);
}

TEST_F(FndReportTest, NonFatalCheckerLogsOrStaysSilent) {
    Fnd_Is_Checker checker(Shape::My_Type);
    checker.Fatal = 0;
    Circle derived;  // a derived object does not pass a checker of its base
    EXPECT_EQ(Logged([&] {
                  EXPECT_EQ(checker.Type_Check(&derived), 0);
                  EXPECT_EQ(checker.Type_Check(Square::My_Type, Circle::My_Type), 0);
              }),
              "22:13:20 *** Fnd_Is_Checker: an object of type Circle where Shape is required\n"
              "22:13:20 *** Fnd_Is_Checker: an object of type Square where Shape is required\n");
    checker.Report = 0;
    EXPECT_EQ(Logged([&] { EXPECT_EQ(checker.Type_Check(&derived), 0); }), "");
}

TEST_F(FndObjectDeathTest, FatalCheckerEndsTheProcess) {
    Fnd_Is_Checker checker(Shape::My_Type);
    checker.Report = 0;  // Fatal alone decides
    Square s;
    EXPECT_EXIT(checker.Type_Check(&s), ::testing::KilledBySignal(SIGABRT),
                Assertion("Fnd_Is_Checker: an object of type Square where Shape is required"));
}

struct Pointee : Fnd_Counted_Pointee {
    static inline int Destroyed = 0;
    ~Pointee() override { ++Destroyed; }
};

TEST_F(FndReportTest, DyingWithReferencesIsLoggedAndSurvived) {
    auto* p = new Pointee;
    p->Add_Reference();
    p->Add_Reference();
    Pointee copy(*p);
    EXPECT_EQ(copy.Reference_Count, 0);  // a copy is a new, unreferenced object
    EXPECT_EQ(Logged([&] { delete p; }),
              "22:13:20 *** an object of class Fnd_Counted_Pointee was destroyed while 2 references "
              "to it remained\n");
    EXPECT_EQ(Pointee::Destroyed, 1);

    copy.Add_Reference();
    EXPECT_EQ(copy.Drop_Reference(), 0);
    EXPECT_EQ(Logged([] { Pointee quiet; }), "");
    EXPECT_EQ(Pointee::Destroyed, 2);
}

}  // namespace
