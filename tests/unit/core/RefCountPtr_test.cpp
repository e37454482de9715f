#include "datasrc/RefCountPtr.h"

#include <gtest/gtest.h>

#include <latch>
#include <new>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Platform/threads/QUAV_RefCntObject.h"

namespace RefCountPtr_test {
namespace {

// A body that counts its deletions. Base is one of the two reference-counted base classes.
template <class Base>
struct Body : Base {
  explicit Body(int* theDeaths, std::string theText = {}) : deaths(theDeaths), text(std::move(theText)) {}
  Body(const Body&) = default;
  ~Body() override { ++*deaths; }

  int* deaths;
  std::string text;
};

template <class Base>
class RefCountPtrTest : public testing::Test {
 protected:
  using Handle = RefCountPtr<Body<Base>>;

  Body<Base>* NewBody(const char* text = "") { return new Body<Base>(&deaths, text); }

  int deaths = 0;
};

struct BaseName {
  template <class Base>
  static std::string GetName(int) {
    return std::is_same_v<Base, QUAV_RefCntObject> ? "QUAV_RefCntObject" : "ThreadSafeRefCntObject";
  }
};

using Bases = testing::Types<ThreadSafeRefCntObject, QUAV_RefCntObject>;
TYPED_TEST_SUITE(RefCountPtrTest, Bases, BaseName);

// ---- The counted object ----

TYPED_TEST(RefCountPtrTest, NewObjectIsShareableAndNotShared) {
  const Body<TypeParam> body(&this->deaths);
  EXPECT_TRUE(body.IsShareable());
  EXPECT_FALSE(body.IsShared());
}

TYPED_TEST(RefCountPtrTest, ObjectIsSharedFromTheSecondReferenceOn) {
  Body<TypeParam>* body = this->NewBody();
  body->AddReference();
  EXPECT_FALSE(body->IsShared());
  body->AddReference();
  EXPECT_TRUE(body->IsShared());
  body->RemoveReference();
  EXPECT_FALSE(body->IsShared());
  body->RemoveReference();
}

TYPED_TEST(RefCountPtrTest, RemovingTheLastReferenceDeletesTheObject) {
  Body<TypeParam>* body = this->NewBody();
  body->AddReference();
  body->AddReference();
  body->RemoveReference();
  EXPECT_EQ(this->deaths, 0);
  body->RemoveReference();
  EXPECT_EQ(this->deaths, 1);
}

TYPED_TEST(RefCountPtrTest, MarkUnshareableClearsTheFlag) {
  Body<TypeParam> body(&this->deaths);
  body.MarkUnshareable();
  EXPECT_FALSE(body.IsShareable());
}

TYPED_TEST(RefCountPtrTest, CopiedObjectIsShareableAndHasNoReferences) {
  Body<TypeParam> body(&this->deaths);
  body.AddReference();
  body.AddReference();
  body.MarkUnshareable();
  const Body<TypeParam> copy(body);
  EXPECT_FALSE(copy.IsShared());
  EXPECT_TRUE(copy.IsShareable());
}

TYPED_TEST(RefCountPtrTest, AssignedObjectKeepsItsCountAndFlag) {
  Body<TypeParam> body(&this->deaths);
  body.AddReference();
  body.AddReference();
  body.MarkUnshareable();
  body = Body<TypeParam>(&this->deaths, "other");
  EXPECT_TRUE(body.IsShared());
  EXPECT_FALSE(body.IsShareable());
}

// ---- The handle ----

TYPED_TEST(RefCountPtrTest, DefaultHandleIsNull) {
  const typename TestFixture::Handle handle;
  EXPECT_FALSE(handle.IsValid());
  EXPECT_EQ(handle.get(), nullptr);
}

TYPED_TEST(RefCountPtrTest, HandleFromANullPointerIsNull) {
  const typename TestFixture::Handle handle(static_cast<Body<TypeParam>*>(nullptr));
  const typename TestFixture::Handle copy(handle);
  EXPECT_FALSE(copy.IsValid());
}

TYPED_TEST(RefCountPtrTest, HandleGivesAccessToItsObject) {
  Body<TypeParam>* body = this->NewBody("text");
  const typename TestFixture::Handle handle(body);
  EXPECT_TRUE(handle.IsValid());
  EXPECT_EQ(handle.get(), body);
  EXPECT_EQ(&*handle, body);
  EXPECT_EQ(handle->text, "text");
}

TYPED_TEST(RefCountPtrTest, LastHandleDeletesTheObject) {
  {
    const typename TestFixture::Handle first(this->NewBody());
    { const typename TestFixture::Handle second(first); }
    EXPECT_EQ(this->deaths, 0);
  }
  EXPECT_EQ(this->deaths, 1);
}

TYPED_TEST(RefCountPtrTest, CopiedHandlesShareTheObject) {
  const typename TestFixture::Handle first(this->NewBody());
  EXPECT_FALSE(first->IsShared());
  const typename TestFixture::Handle second(first);
  EXPECT_EQ(first, second);
  EXPECT_TRUE(first->IsShared());
}

TYPED_TEST(RefCountPtrTest, HandlesCompareByPointer) {
  Body<TypeParam>* body = this->NewBody("same");
  const typename TestFixture::Handle first(body);
  const typename TestFixture::Handle other(this->NewBody("same"));
  EXPECT_TRUE(first == body);
  EXPECT_FALSE(first != body);
  EXPECT_TRUE(first != other);
  EXPECT_FALSE(first == other);
  EXPECT_TRUE(typename TestFixture::Handle() == typename TestFixture::Handle());
}

TYPED_TEST(RefCountPtrTest, CopyingAHandleToAnUnshareableObjectCopiesTheObject) {
  Body<TypeParam>* body = this->NewBody("text");
  const typename TestFixture::Handle first(body);
  body->MarkUnshareable();
  const typename TestFixture::Handle second(first);
  EXPECT_NE(second.get(), body);
  EXPECT_EQ(second->text, "text");
  EXPECT_FALSE(second->IsShared());
  EXPECT_FALSE(first->IsShared());
}

TYPED_TEST(RefCountPtrTest, HandleCopiesAnUnshareableObjectWithoutReferences) {
  Body<TypeParam> body(&this->deaths, "text");
  body.MarkUnshareable();
  {
    const typename TestFixture::Handle handle(&body);
    EXPECT_NE(handle.get(), &body);
  }
  EXPECT_EQ(this->deaths, 1) << "only the copy is deleted";
}

TYPED_TEST(RefCountPtrTest, AssignmentReleasesTheOldObject) {
  typename TestFixture::Handle handle(this->NewBody("old"));
  const typename TestFixture::Handle other(this->NewBody("new"));
  handle = other;
  EXPECT_EQ(this->deaths, 1);
  EXPECT_EQ(handle->text, "new");
  EXPECT_TRUE(other->IsShared());
}

bool theCopyFails = false;

// A body whose copy constructor throws on demand.
template <class Base>
struct FailingBody : Base {
  explicit FailingBody(int* theDeaths) : deaths(theDeaths) {}
  FailingBody(const FailingBody& other) : Base(other), deaths(other.deaths) {
    if (theCopyFails) throw std::bad_alloc();
  }
  ~FailingBody() override { ++*deaths; }

  int* deaths;
};

TYPED_TEST(RefCountPtrTest, FailedAssignmentChangesNothing) {
  using Failing = FailingBody<TypeParam>;
  auto* const unshareable = new Failing(&this->deaths);
  const RefCountPtr<Failing> other(unshareable);
  unshareable->MarkUnshareable();
  {
    RefCountPtr<Failing> handle(new Failing(&this->deaths));
    Failing* const before = handle.get();
    theCopyFails = true;
    EXPECT_THROW(handle = other, std::bad_alloc);
    EXPECT_THROW(handle = unshareable, std::bad_alloc);
    theCopyFails = false;
    EXPECT_EQ(handle.get(), before);
    EXPECT_FALSE(handle->IsShared());
    EXPECT_EQ(this->deaths, 0);
  }
  EXPECT_EQ(this->deaths, 1);
  EXPECT_EQ(other.get(), unshareable);
  EXPECT_FALSE(other->IsShared());
}

TYPED_TEST(RefCountPtrTest, AssigningARawPointerCountsAReference) {
  typename TestFixture::Handle handle;
  handle = this->NewBody("text");
  EXPECT_EQ(handle->text, "text");
  handle = nullptr;
  EXPECT_EQ(this->deaths, 1);
  EXPECT_FALSE(handle.IsValid());
}

TYPED_TEST(RefCountPtrTest, AssigningTheSameObjectDoesNothing) {
  typename TestFixture::Handle handle(this->NewBody("text"));
  const Body<TypeParam>* body = handle.get();
  handle->MarkUnshareable();  // a new reference to it would make a copy
  const typename TestFixture::Handle& itself = handle;
  handle = itself;
  EXPECT_EQ(handle.get(), body);
  EXPECT_EQ(this->deaths, 0);
}

TYPED_TEST(RefCountPtrTest, MovingAHandleKeepsTheCount) {
  typename TestFixture::Handle first(this->NewBody("text"));
  typename TestFixture::Handle second(std::move(first));
  EXPECT_FALSE(second->IsShared());
  typename TestFixture::Handle third;
  third = std::move(second);
  EXPECT_EQ(third->text, "text");
  EXPECT_FALSE(third->IsShared());
}

TYPED_TEST(RefCountPtrTest, UnsharedReturnsTheObjectWhenItIsNotShared) {
  typename TestFixture::Handle handle(this->NewBody());
  const Body<TypeParam>* body = handle.get();
  EXPECT_EQ(handle.Unshared(), body);
}

TYPED_TEST(RefCountPtrTest, UnsharedCopiesASharedObject) {
  const typename TestFixture::Handle reader(this->NewBody("before"));
  typename TestFixture::Handle writer(reader);
  writer.Unshared()->text = "after";
  EXPECT_EQ(reader->text, "before");
  EXPECT_EQ(writer->text, "after");
  EXPECT_FALSE(reader->IsShared());
  EXPECT_FALSE(writer->IsShared());
}

TYPED_TEST(RefCountPtrTest, UnsharedKeepsAnUnshareableObjectThatIsNotShared) {
  typename TestFixture::Handle handle(this->NewBody());
  Body<TypeParam>* body = handle.get();
  body->MarkUnshareable();
  EXPECT_EQ(handle.Unshared(), body);
}

// ---- Threads ----

TYPED_TEST(RefCountPtrTest, HandlesToOneObjectMayLiveOnSeveralThreads) {
  typename TestFixture::Handle handle(this->NewBody("text"));
  std::latch start(4);
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&start, mine = handle] {
      start.arrive_and_wait();
      for (int round = 0; round < 10000; ++round) const typename TestFixture::Handle other(mine);
    });
  }
  for (std::thread& thread : threads) thread.join();
  threads.clear();
  EXPECT_FALSE(handle->IsShared());
  EXPECT_EQ(this->deaths, 0);
}

// While the last reference is removed, another thread can still take the lock: it is not held during the deletion.
struct ReadsOnAnotherThreadWhenDeleted : ThreadSafeRefCntObject {
  explicit ReadsOnAnotherThreadWhenDeleted(bool* result) : wasShareable(result) {}
  ReadsOnAnotherThreadWhenDeleted(const ReadsOnAnotherThreadWhenDeleted&) = default;
  ~ReadsOnAnotherThreadWhenDeleted() override {
    std::thread([this] { *wasShareable = IsShareable(); }).join();
  }

  bool* wasShareable;
};

TEST(ThreadSafeRefCntObject, IsDeletedOutsideItsLock) {
  bool wasShareable = false;
  { const RefCountPtr<ReadsOnAnotherThreadWhenDeleted> handle(new ReadsOnAnotherThreadWhenDeleted(&wasShareable)); }
  EXPECT_TRUE(wasShareable);
}

}  // namespace
}  // namespace RefCountPtr_test
