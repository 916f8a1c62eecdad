/// @file
/// Attribute records beside protocol buffers, MessagePack and the ordered containers: encoding, decoding, look-up.
///
/// The mix: 30 % integers, 25 % texts of 12 characters, 15 % booleans, 15 % dimensions, 10 % blobs of 64 bytes, 5 %
/// lists of four integers.  Peers carry 12-byte texts where ours carry 24 bytes.  Times are per set; the counter
/// "items_per_second" is records per second.
#include <absl/container/btree_map.h>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <map>
#include <memory>
#include <msgpack.hpp>
#include <numeric>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "attribute_records.pb.h"
#include "utilities/attributebytes/AttributeBytesDataValues.h"
#include "utilities/attributebytes/AttributeBytesDimensionValues.h"
#include "utilities/attributebytes/AttributeBytesIndexedList.h"
#include "utilities/attributebytes/AttributeBytesListValue.h"
#include "utilities/attributebytes/AttributeBytesNumberIds.h"
#include "utilities/attributebytes/AttributeBytesNumberValues.h"
#include "utilities/attributebytes/AttributeBytesRawList.h"

namespace {

enum class Kind { Integer, Text, Boolean, Dimension, Blob, List };

Kind KindOf(int i) {
    const int iShare = (i * 37) % 100;
    if (iShare < 30) return Kind::Integer;
    if (iShare < 55) return Kind::Text;
    if (iShare < 70) return Kind::Boolean;
    if (iShare < 85) return Kind::Dimension;
    return iShare < 95 ? Kind::Blob : Kind::List;
}

std::string TextOf(int i) {
    std::string text = "Setting";
    for (int iDigit = 10000; iDigit > 0; iDigit /= 10)
        text += static_cast<char>('0' + i / iDigit % 10);
    return text;
}

std::unique_ptr<AttributeBytesValue> MakeValue(int i) {
    switch (KindOf(i)) {
        case Kind::Integer:
            return std::make_unique<AttributeBytesIntegerValue>(i);
        case Kind::Text:
            return std::make_unique<AttributeBytesStringValue>(CXString(TextOf(i).c_str()));
        case Kind::Boolean:
            return std::make_unique<AttributeBytesBooleanValue>(i % 2 == 0);
        case Kind::Dimension:
            return std::make_unique<AttributeBytesDimensionValue>(
                Dimension(i * 10.0, Dimension::DUE_THOUSANDTHS_OF_MM));
        case Kind::Blob:
            return std::make_unique<AttributeBytesDataBlobValue>(
                ByteBuffer(std::vector<BYTE>(64, static_cast<BYTE>(i))));
        case Kind::List:
            break;
    }
    AttributeBytesRawList oItems;
    for (int iItem = 0; iItem < 4; ++iItem) {
        oItems.AddAttributeBytes(
            AttributeBytes(AttributeBytesListOfValuesItemId(iItem), AttributeBytesIntegerValue(i + iItem)));
    }
    return std::make_unique<AttributeBytesListValue>(oItems);
}

AttributeBytesIndexedList MakeList(int iRecords) {
    AttributeBytesIndexedList oList;
    for (int i = 0; i < iRecords; ++i) {
        oList.AddAttributeBytes(AttributeBytes(std::make_unique<AttributeBytesFeatureId>(i * 3), MakeValue(i)));
    }
    return oList;
}

template <class Set>
void FillProto(Set& rSet, int iRecords) {
    for (int i = 0; i < iRecords; ++i) {
        q9bench::Record& rRecord = *rSet.add_records();
        rRecord.set_id(i * 3);
        switch (KindOf(i)) {
            case Kind::Integer:
                rRecord.set_integer(i);
                break;
            case Kind::Text:
                rRecord.set_text(TextOf(i));
                break;
            case Kind::Boolean:
                rRecord.set_boolean(i % 2 == 0);
                break;
            case Kind::Dimension:
                rRecord.set_dimension(i * 10);
                break;
            case Kind::Blob:
                rRecord.set_blob(std::string(64, static_cast<char>(i)));
                break;
            case Kind::List:
                for (int iItem = 0; iItem < 4; ++iItem) {
                    q9bench::Record& rItem = *rRecord.mutable_list()->add_records();
                    rItem.set_id(iItem);
                    rItem.set_integer(i + iItem);
                }
                break;
        }
    }
}

void PackMsgpack(msgpack::packer<msgpack::sbuffer>& rPacker, int iRecords) {
    rPacker.pack_array(static_cast<std::uint32_t>(iRecords));
    for (int i = 0; i < iRecords; ++i) {
        rPacker.pack_array(2);
        rPacker.pack(i * 3);
        switch (KindOf(i)) {
            case Kind::Integer:
            case Kind::Dimension:
                rPacker.pack(i);
                break;
            case Kind::Text:
                rPacker.pack(TextOf(i));
                break;
            case Kind::Boolean:
                rPacker.pack(i % 2 == 0);
                break;
            case Kind::Blob:
                rPacker.pack_bin(64);
                rPacker.pack_bin_body(std::string(64, static_cast<char>(i)).data(), 64);
                break;
            case Kind::List:
                rPacker.pack_array(4);
                for (int iItem = 0; iItem < 4; ++iItem)
                    rPacker.pack(i + iItem);
                break;
        }
    }
}

void CountRecords(benchmark::State& rState) {
    rState.SetItemsProcessed(rState.iterations() * rState.range(0));
}

// ---- encoding ----

void EncodeOurs(benchmark::State& rState) {
    const AttributeBytesIndexedList oList = MakeList(static_cast<int>(rState.range(0)));
    for (auto _ : rState)
        benchmark::DoNotOptimize(oList.GetAttributeBytesIndexedListState());
    CountRecords(rState);
}
BENCHMARK(EncodeOurs)->Arg(50)->Arg(500)->Arg(10000);

void EncodeProtobufMessageAtHand(benchmark::State& rState) {
    q9bench::RecordSet oSet;
    FillProto(oSet, static_cast<int>(rState.range(0)));
    for (auto _ : rState)
        benchmark::DoNotOptimize(oSet.SerializeAsString());
    CountRecords(rState);
}
BENCHMARK(EncodeProtobufMessageAtHand)->Arg(50)->Arg(500)->Arg(10000);

void EncodeMsgpack(benchmark::State& rState) {
    for (auto _ : rState) {
        msgpack::sbuffer oBuffer;
        msgpack::packer<msgpack::sbuffer> oPacker(oBuffer);
        PackMsgpack(oPacker, static_cast<int>(rState.range(0)));
        benchmark::DoNotOptimize(oBuffer.data());
    }
    CountRecords(rState);
}
BENCHMARK(EncodeMsgpack)->Arg(50)->Arg(500)->Arg(10000);

// ---- decoding ----

void DecodeOursToIndexedList(benchmark::State& rState) {
    const ByteBuffer bbState = MakeList(static_cast<int>(rState.range(0))).GetAttributeBytesIndexedListState();
    for (auto _ : rState) {
        AttributeBytesIndexedList oList;
        oList.ImportAttributeBytesIndexedListState(bbState);
        benchmark::DoNotOptimize(oList);
    }
    CountRecords(rState);
}
BENCHMARK(DecodeOursToIndexedList)->Arg(50)->Arg(500)->Arg(10000);

void DecodeProtobufArena(benchmark::State& rState) {
    q9bench::RecordSet oSet;
    FillProto(oSet, static_cast<int>(rState.range(0)));
    const std::string state = oSet.SerializeAsString();
    for (auto _ : rState) {
        google::protobuf::Arena oArena;
        auto* const pSet = google::protobuf::Arena::CreateMessage<q9bench::RecordSet>(&oArena);
        benchmark::DoNotOptimize(pSet->ParseFromString(state));
    }
    CountRecords(rState);
}
BENCHMARK(DecodeProtobufArena)->Arg(50)->Arg(500)->Arg(10000);

void DecodeMsgpackObjects(benchmark::State& rState) {
    msgpack::sbuffer oBuffer;
    msgpack::packer<msgpack::sbuffer> oPacker(oBuffer);
    PackMsgpack(oPacker, static_cast<int>(rState.range(0)));
    for (auto _ : rState) {
        const msgpack::object_handle oHandle = msgpack::unpack(oBuffer.data(), oBuffer.size());
        benchmark::DoNotOptimize(oHandle.get());
    }
    CountRecords(rState);
}
BENCHMARK(DecodeMsgpackObjects)->Arg(50)->Arg(500)->Arg(10000);

// ---- look-up and building ----

std::vector<int> ShuffledNumbers(int iCount, unsigned uSeed) {
    std::vector<int> viNumbers(static_cast<std::size_t>(iCount));
    std::iota(viNumbers.begin(), viNumbers.end(), 0);
    std::shuffle(viNumbers.begin(), viNumbers.end(), std::mt19937(uSeed));
    for (int& riNumber : viNumbers)
        riNumber *= 3;
    return viNumbers;
}

/// Runs `find(number)` over unpredictable numbers of the set.
template <class Find>
void LookUp(benchmark::State& rState, Find find) {
    const std::vector<int> viQueries = ShuffledNumbers(static_cast<int>(rState.range(0)), 5);
    std::vector<int> viMany;
    std::mt19937 random(3);
    for (int i = 0; i < 1 << 16; ++i)
        viMany.push_back(viQueries[random() % viQueries.size()]);
    std::size_t at = 0;
    for (auto _ : rState) {
        benchmark::DoNotOptimize(find(viMany[at]));
        at = (at + 1) & 0xFFFF;
    }
}

void LookUpOurs(benchmark::State& rState) {
    AttributeBytesIndexedList oList;
    for (int i = 0; i < rState.range(0); ++i) {
        oList.AddAttributeBytes(AttributeBytes(AttributeBytesFeatureId(i * 3), AttributeBytesIntegerValue(i)));
    }
    AttributeBytesFeatureId oId;
    LookUp(rState, [&](int iNumber) {
        oId.SetFeatureId(iNumber);
        return oList.GetAttributeBytesPtr(oId);
    });
}
BENCHMARK(LookUpOurs)->Arg(50)->Arg(500)->Arg(10000);

void LookUpBtreeMap(benchmark::State& rState) {
    absl::btree_map<std::uint64_t, void*> oMap;
    for (int i = 0; i < rState.range(0); ++i)
        oMap.emplace(i * 3, &oMap);
    LookUp(rState, [&](int iNumber) { return oMap.find(static_cast<std::uint64_t>(iNumber))->second; });
}
BENCHMARK(LookUpBtreeMap)->Arg(50)->Arg(500)->Arg(10000);

void LookUpStdSet(benchmark::State& rState) {
    std::set<std::uint64_t> oSet;
    for (int i = 0; i < rState.range(0); ++i)
        oSet.insert(static_cast<std::uint64_t>(i * 3));
    LookUp(rState, [&](int iNumber) { return *oSet.find(static_cast<std::uint64_t>(iNumber)); });
}
BENCHMARK(LookUpStdSet)->Arg(50)->Arg(500)->Arg(10000);

/// Fills a set with shared records in a given order; the records are made beforehand.
void FillOurs(benchmark::State& rState, const std::vector<int>& rviOrder) {
    std::vector<AttributeBytesSharedPtr> vshpoRecords;
    for (const int iNumber : rviOrder) {
        vshpoRecords.push_back(
            MakeVlmShared<AttributeBytes>(AttributeBytesFeatureId(iNumber), AttributeBytesIntegerValue(iNumber)));
    }
    for (auto _ : rState) {
        vlm::AttributeBytesOrderedSet oSet;
        for (const AttributeBytesSharedPtr& rshpoRecord : vshpoRecords) {
            oSet.Insert(AttributeBytesSharedPtr(rshpoRecord));
        }
        benchmark::DoNotOptimize(oSet);
    }
    CountRecords(rState);
}
template <class Set>
void FillPeer(benchmark::State& rState, const std::vector<int>& rviOrder) {
    for (auto _ : rState) {
        Set oSet;
        for (const int iNumber : rviOrder)
            oSet.emplace(iNumber, nullptr);
        benchmark::DoNotOptimize(oSet);
    }
    CountRecords(rState);
}
std::vector<int> Ascending(benchmark::State& rState) {
    std::vector<int> viNumbers = ShuffledNumbers(static_cast<int>(rState.range(0)), 5);
    std::sort(viNumbers.begin(), viNumbers.end());
    return viNumbers;
}
std::vector<int> AnyOrder(benchmark::State& rState) {
    return ShuffledNumbers(static_cast<int>(rState.range(0)), 9);
}

void FillInOrderOurs(benchmark::State& rState) {
    FillOurs(rState, Ascending(rState));
}
void FillInOrderStdMap(benchmark::State& rState) {
    FillPeer<std::map<std::uint64_t, void*>>(rState, Ascending(rState));
}
void FillAnyOrderOurs(benchmark::State& rState) {
    FillOurs(rState, AnyOrder(rState));
}
void FillAnyOrderBtreeMap(benchmark::State& rState) {
    FillPeer<absl::btree_map<std::uint64_t, void*>>(rState, AnyOrder(rState));
}
BENCHMARK(FillInOrderOurs)->Arg(50)->Arg(500)->Arg(10000);
BENCHMARK(FillInOrderStdMap)->Arg(50)->Arg(500)->Arg(10000);
BENCHMARK(FillAnyOrderOurs)->Arg(50)->Arg(500)->Arg(10000);
BENCHMARK(FillAnyOrderBtreeMap)->Arg(50)->Arg(500)->Arg(10000);

}  // namespace
